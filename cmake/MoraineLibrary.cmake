# The target moraine::moraine, made of all sources below moraine/ and the platform folder of this system, and the target
# moraine::extras, made of those below moraine/extras/, which is a client of the first one's public headers.

if(UNIX)
    set(moraine_platform posix)
else()
    string(TOLOWER "${CMAKE_SYSTEM_NAME}" moraine_platform)
endif()
if(NOT IS_DIRECTORY "${PROJECT_SOURCE_DIR}/moraine/platform/${moraine_platform}")
    message(FATAL_ERROR
        "MoraineLib has no backend for ${CMAKE_SYSTEM_NAME} yet: provide the folder "
        "moraine/platform/${moraine_platform} with sources that implement the headers in moraine/platform.")
endif()

# Everything but the folders of other systems; paths are relative so that the place of the tree can't match.
file(GLOB_RECURSE moraine_sources RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/moraine/*.cpp")
file(GLOB_RECURSE moraine_platform_sources RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/moraine/platform/${moraine_platform}/*.cpp")
list(FILTER moraine_sources EXCLUDE REGEX "^moraine/platform/.+/|^moraine/extras/")

file(GLOB_RECURSE moraine_headers RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/moraine/*.h")
list(FILTER moraine_headers EXCLUDE REGEX "^moraine/platform/|/internal/")
set(moraine_extras_headers ${moraine_headers})
list(FILTER moraine_headers EXCLUDE REGEX "^moraine/extras/")
list(FILTER moraine_extras_headers INCLUDE REGEX "^moraine/extras/")
list(TRANSFORM moraine_extras_headers PREPEND "${PROJECT_SOURCE_DIR}/")
list(TRANSFORM moraine_headers PREPEND "${PROJECT_SOURCE_DIR}/")

file(GLOB_RECURSE moraine_extras_sources RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/moraine/extras/*.cpp")

# Programs are bound to the versions that keep their promises: before 1.0 those of one minor version.
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(moraine_soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
else()
    set(moraine_soversion ${PROJECT_VERSION_MAJOR})
endif()

include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
check_cxx_compiler_flag(-fno-semantic-interposition MORAINE_HAS_NO_SEMANTIC_INTERPOSITION)
if(BUILD_SHARED_LIBS)
    check_linker_flag(CXX "LINKER:-Bsymbolic-functions" MORAINE_HAS_SYMBOLIC_FUNCTIONS)
    check_linker_flag(CXX "LINKER:--no-undefined" MORAINE_HAS_NO_UNDEFINED)
endif()

# moraine_library(TARGET NAME NAMESPACE MARK): what both libraries share. NAME is that of the file, NAMESPACE what its
# shared form lends to programs, MARK the definition that tells its own sources from those of clients.
function(moraine_library target name namespace mark)
    add_library(moraine::${name} ALIAS ${target})
    target_compile_features(${target} PUBLIC cxx_std_17)
    target_compile_definitions(${target} PRIVATE ${mark})
    set_target_properties(${target} PROPERTIES
        VERSION ${PROJECT_VERSION}
        SOVERSION ${moraine_soversion}
        CXX_EXTENSIONS OFF
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON)

    # Nobody puts functions of their own in the place of the library's, so its calls to them need no detour.
    if(MORAINE_HAS_NO_SEMANTIC_INTERPOSITION)
        target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    endif()
    if(NOT BUILD_SHARED_LIBS)
        return()
    endif()
    if(MORAINE_HAS_SYMBOLIC_FUNCTIONS)
        target_link_options(${target} PRIVATE "LINKER:-Bsymbolic-functions")
    endif()

    # The runtime of a sanitizer is linked into the program only, so its symbols are open in a library.
    string(TOUPPER "${CMAKE_BUILD_TYPE}" config)
    set(flags "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${config}} ${CMAKE_SHARED_LINKER_FLAGS}")
    if(NOT flags MATCHES "-fsanitize" AND MORAINE_HAS_NO_UNDEFINED)
        target_link_options(${target} PRIVATE "LINKER:--no-undefined")
    endif()

    set(version_script "${PROJECT_BINARY_DIR}/${target}.map")
    set(moraine_lent "${namespace}")
    configure_file(cmake/moraine.map.in "${version_script}" @ONLY)
    check_linker_flag(CXX "LINKER:--version-script=${version_script}" MORAINE_HAS_VERSION_SCRIPT)
    if(MORAINE_HAS_VERSION_SCRIPT)
        target_link_options(${target} PRIVATE "LINKER:--version-script=${version_script}")
        set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS "${version_script}")
    endif()
endfunction()

find_package(Threads)
if(NOT Threads_FOUND)
    message(FATAL_ERROR "MoraineLib needs POSIX threads, which come with the development files of the C library (Debian "
        "package libc6-dev).")
endif()

add_library(moraine ${moraine_sources} ${moraine_platform_sources})
moraine_library(moraine moraine moraine MORAINE_BUILDING)
# The file set carries the include folder to users, in the build tree and installed.
target_sources(moraine PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${moraine_headers})
target_link_libraries(moraine PRIVATE Threads::Threads)
if(NOT BUILD_SHARED_LIBS)
    target_compile_definitions(moraine PUBLIC MORAINE_STATIC)
endif()

add_library(moraine_extras ${moraine_extras_sources})
moraine_library(moraine_extras extras moraine::extras MORAINE_EXTRAS_BUILDING)
# The path lets it find the first library beside it, wherever both are installed: that of a program does not count for it.
set_target_properties(moraine_extras PROPERTIES OUTPUT_NAME moraine-extras EXPORT_NAME extras INSTALL_RPATH "$ORIGIN")
target_sources(moraine_extras PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${moraine_extras_headers})
target_link_libraries(moraine_extras PUBLIC moraine::moraine)

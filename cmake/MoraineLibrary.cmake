# The target moraine::moraine, made of all sources below moraine/ and the platform folder of this system.

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
list(FILTER moraine_sources EXCLUDE REGEX "^moraine/platform/.+/")

file(GLOB_RECURSE moraine_headers RELATIVE "${PROJECT_SOURCE_DIR}" CONFIGURE_DEPENDS
    "${PROJECT_SOURCE_DIR}/moraine/*.h")
list(FILTER moraine_headers EXCLUDE REGEX "^moraine/platform/|/internal/")
list(TRANSFORM moraine_headers PREPEND "${PROJECT_SOURCE_DIR}/")

add_library(moraine ${moraine_sources} ${moraine_platform_sources})
add_library(moraine::moraine ALIAS moraine)

# The file set carries the include folder to users, in the build tree and installed.
target_sources(moraine PUBLIC FILE_SET HEADERS BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES ${moraine_headers})
target_compile_features(moraine PUBLIC cxx_std_17)
target_compile_definitions(moraine PRIVATE MORAINE_BUILDING)

# Programs are bound to the versions that keep their promises: before 1.0 those of one minor version.
if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(moraine_soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
else()
    set(moraine_soversion ${PROJECT_VERSION_MAJOR})
endif()
set_target_properties(moraine PROPERTIES
    VERSION ${PROJECT_VERSION}
    SOVERSION ${moraine_soversion}
    CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON)

# Nobody puts functions of their own in the place of the library's, so its calls to them need no detour.
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fno-semantic-interposition MORAINE_HAS_NO_SEMANTIC_INTERPOSITION)
if(MORAINE_HAS_NO_SEMANTIC_INTERPOSITION)
    target_compile_options(moraine PRIVATE -fno-semantic-interposition)
endif()

find_package(Threads)
if(NOT Threads_FOUND)
    message(FATAL_ERROR "MoraineLib needs POSIX threads, which come with the development files of the C library (Debian "
        "package libc6-dev).")
endif()
target_link_libraries(moraine PRIVATE Threads::Threads)

if(NOT BUILD_SHARED_LIBS)
    target_compile_definitions(moraine PUBLIC MORAINE_STATIC)
    return()
endif()

include(CheckLinkerFlag)
check_linker_flag(CXX "LINKER:-Bsymbolic-functions" MORAINE_HAS_SYMBOLIC_FUNCTIONS)
if(MORAINE_HAS_SYMBOLIC_FUNCTIONS)
    target_link_options(moraine PRIVATE "LINKER:-Bsymbolic-functions")
endif()

# The runtime of a sanitizer is linked into the program only, so its symbols are open in a library.
string(TOUPPER "${CMAKE_BUILD_TYPE}" moraine_config)
set(moraine_flags "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${moraine_config}} ${CMAKE_SHARED_LINKER_FLAGS}")
if(NOT moraine_flags MATCHES "-fsanitize")
    check_linker_flag(CXX "LINKER:--no-undefined" MORAINE_HAS_NO_UNDEFINED)
    if(MORAINE_HAS_NO_UNDEFINED)
        target_link_options(moraine PRIVATE "LINKER:--no-undefined")
    endif()
endif()

set(moraine_version_script "${PROJECT_BINARY_DIR}/moraine.map")
configure_file(cmake/moraine.map.in "${moraine_version_script}" @ONLY)
check_linker_flag(CXX "LINKER:--version-script=${moraine_version_script}" MORAINE_HAS_VERSION_SCRIPT)
if(MORAINE_HAS_VERSION_SCRIPT)
    target_link_options(moraine PRIVATE "LINKER:--version-script=${moraine_version_script}")
    set_property(TARGET moraine APPEND PROPERTY LINK_DEPENDS "${moraine_version_script}")
endif()

# What `cpack` makes of a build: a pair of Debian packages where dpkg is there, an archive elsewhere. The runtime package
# is named after the library's soversion, so that versions which programs cannot exchange live side by side; the
# development package needs the runtime of its very own version.

find_program(MORAINE_DPKG dpkg)
mark_as_advanced(MORAINE_DPKG)
if(MORAINE_DPKG)
    set(CPACK_GENERATOR DEB)
else()
    set(CPACK_GENERATOR TGZ)
endif()
set(CPACK_PACKAGE_VENDOR "MoraineLib")
if(NOT CPACK_PACKAGE_CONTACT)  # whoever hands packages out has an address to give
    set(CPACK_PACKAGE_CONTACT "The MoraineLib developers")
endif()
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL moraine_development)
if(BUILD_SHARED_LIBS)  # a static library leaves nothing for the runtime package
    list(APPEND CPACK_COMPONENTS_ALL moraine_runtime)
    set(CPACK_COMPONENT_MORAINE_DEVELOPMENT_DEPENDS moraine_runtime)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_MORAINE_RUNTIME_PACKAGE_NAME libmoraine${moraine_soversion})
set(CPACK_DEBIAN_MORAINE_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_MORAINE_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_MORAINE_RUNTIME_DESCRIPTION "What programs that use the library need to run.")
set(CPACK_DEBIAN_MORAINE_DEVELOPMENT_PACKAGE_NAME libmoraine-dev)
set(CPACK_DEBIAN_MORAINE_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_MORAINE_DEVELOPMENT_DESCRIPTION
    "What it takes to build programs with the library: headers, CMake package, pkg-config module.")

include(CPack)

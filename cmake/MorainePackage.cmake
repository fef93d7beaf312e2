# What `cpack` makes of a build: Debian packages where dpkg is there, an archive elsewhere. The runtime package is named
# after the library's soversion, so that versions which programs cannot exchange live side by side; the development package
# needs the runtime of its very own version; the pages and examples are for every architecture.

find_program(MORAINE_DPKG dpkg)
mark_as_advanced(MORAINE_DPKG)
if(MORAINE_DPKG)
    set(CPACK_GENERATOR DEB)
else()
    set(CPACK_GENERATOR TGZ)
endif()
set(CPACK_PACKAGE_VENDOR "MoraineLib")
if(NOT CPACK_PACKAGE_CONTACT)  # whoever hands packages out has an address to give
    set(CPACK_PACKAGE_CONTACT "The MoraineLib developers <>")
endif()
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_COMPONENTS_ALL moraine_development moraine_documentation)
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
# dpkg refreshes the loader's cache at this; the scripts that CPack writes for it are taken out again.
file(WRITE "${PROJECT_BINARY_DIR}/deb/triggers" "activate-noawait ldconfig\n")
set(CPACK_DEBIAN_MORAINE_RUNTIME_PACKAGE_CONTROL_EXTRA "${PROJECT_BINARY_DIR}/deb/triggers")
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/DebWithoutScripts.cmake")
set(CPACK_DEBIAN_MORAINE_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(CPACK_COMPONENT_MORAINE_RUNTIME_DESCRIPTION "What programs that use the library need to run.")
set(CPACK_DEBIAN_MORAINE_DEVELOPMENT_PACKAGE_NAME libmoraine-dev)
set(CPACK_DEBIAN_MORAINE_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_MORAINE_DEVELOPMENT_DESCRIPTION
    "What it takes to build programs with the library:\nheaders, CMake package, pkg-config module.")
set(CPACK_DEBIAN_MORAINE_DOCUMENTATION_PACKAGE_NAME libmoraine-doc)
set(CPACK_DEBIAN_MORAINE_DOCUMENTATION_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_MORAINE_DOCUMENTATION_PACKAGE_ARCHITECTURE all)
set(CPACK_COMPONENT_MORAINE_DOCUMENTATION_DESCRIPTION "The pages, and the examples with their data.")

# What Debian wants of each package.
if(MORAINE_DPKG)
    file(WRITE "${PROJECT_BINARY_DIR}/deb/copyright"
        "Copyright 2026 the MoraineLib developers\n\nLicense: none has been granted yet; the owner decides. All rights reserved.\n")
    file(WRITE "${PROJECT_BINARY_DIR}/deb/changelog.Debian"
        "moraine (${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; urgency=medium\n\n"
        "  * CHANGELOG.md of the source tells what is in it.\n\n"
        " -- ${CPACK_PACKAGE_CONTACT}  Mon, 23 Nov 2026 00:00:00 +0000\n")
    execute_process(COMMAND gzip -9nkf "${PROJECT_BINARY_DIR}/deb/changelog.Debian")
    foreach(part IN ITEMS RUNTIME DEVELOPMENT DOCUMENTATION)
        string(TOLOWER moraine_${part} component)
        if(component IN_LIST CPACK_COMPONENTS_ALL)
            file(WRITE "${PROJECT_BINARY_DIR}/deb/${CPACK_DEBIAN_MORAINE_${part}_PACKAGE_NAME}"
                "# Whoever hands the packages out sets CPACK_PACKAGE_CONTACT. They are no upload to Debian.\n"
                "${CPACK_DEBIAN_MORAINE_${part}_PACKAGE_NAME}: malformed-contact *\n"
                "${CPACK_DEBIAN_MORAINE_${part}_PACKAGE_NAME}: bogus-mail-host-in-debian-changelog *\n"
                "${CPACK_DEBIAN_MORAINE_${part}_PACKAGE_NAME}: initial-upload-closes-no-bugs *\n")
            install(FILES "${PROJECT_BINARY_DIR}/deb/${CPACK_DEBIAN_MORAINE_${part}_PACKAGE_NAME}"
                DESTINATION "${CMAKE_INSTALL_DATADIR}/lintian/overrides" COMPONENT ${component})
            install(FILES "${PROJECT_BINARY_DIR}/deb/copyright" "${PROJECT_BINARY_DIR}/deb/changelog.Debian.gz"
                DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_MORAINE_${part}_PACKAGE_NAME}" COMPONENT ${component})
        endif()
    endforeach()
endif()

include(CPack)

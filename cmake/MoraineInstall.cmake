# What `cmake --install` puts where. Nothing installed holds an absolute path, so the result may be moved. The component
# moraine_runtime is what programs need to run, moraine_development what it takes to build them.

include(CMakePackageConfigHelpers)

set(moraine_cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/moraine")
set(moraine_pkgconfig_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")

install(TARGETS moraine moraine_extras EXPORT moraineTargets
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
        COMPONENT moraine_runtime NAMELINK_COMPONENT moraine_development
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT moraine_development
    RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT moraine_runtime
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT moraine_development
    INCLUDES DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}")

install(EXPORT moraineTargets NAMESPACE moraine:: DESTINATION "${moraine_cmake_dir}" COMPONENT moraine_development)
configure_package_config_file(cmake/moraineConfig.cmake.in "${PROJECT_BINARY_DIR}/moraineConfig.cmake"
    INSTALL_DESTINATION "${moraine_cmake_dir}" NO_SET_AND_CHECK_MACRO)
# Until 1.0 a new minor version may break its users.
write_basic_package_version_file("${PROJECT_BINARY_DIR}/moraineConfigVersion.cmake" COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/moraineConfig.cmake" "${PROJECT_BINARY_DIR}/moraineConfigVersion.cmake"
    DESTINATION "${moraine_cmake_dir}" COMPONENT moraine_development)

# The way from the .pc file up to the prefix depends on how deep the library folder lies (lib, lib/x86_64-linux-gnu).
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(moraine_pc_prefix "${CMAKE_INSTALL_PREFIX}")
    set(moraine_pc_libdir "${CMAKE_INSTALL_LIBDIR}")
else()
    file(RELATIVE_PATH moraine_pc_up "/${moraine_pkgconfig_dir}" "/")
    string(REGEX REPLACE "/$" "" moraine_pc_up "${moraine_pc_up}")
    set(moraine_pc_prefix "\${pcfiledir}/${moraine_pc_up}")
    set(moraine_pc_libdir "\${prefix}/${CMAKE_INSTALL_LIBDIR}")
endif()
if(IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(moraine_pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
else()
    set(moraine_pc_includedir "\${prefix}/${CMAKE_INSTALL_INCLUDEDIR}")
endif()
if(NOT BUILD_SHARED_LIBS)
    set(moraine_pc_define " -DMORAINE_STATIC")
    set(moraine_pc_private " -lstdc++ ${CMAKE_THREAD_LIBS_INIT}")
    if("c++" IN_LIST CMAKE_CXX_IMPLICIT_LINK_LIBRARIES)
        set(moraine_pc_private " -lc++ ${CMAKE_THREAD_LIBS_INIT}")
    endif()
    string(STRIP "${moraine_pc_private}" moraine_pc_private)
    set(moraine_pc_private "Libs.private: ${moraine_pc_private}\n")
endif()
configure_file(cmake/moraine.pc.in "${PROJECT_BINARY_DIR}/moraine.pc" @ONLY)
configure_file(cmake/moraine-extras.pc.in "${PROJECT_BINARY_DIR}/moraine-extras.pc" @ONLY)
install(FILES README.md DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/libmoraine-doc" COMPONENT moraine_documentation)
install(DIRECTORY docs examples DESTINATION "${CMAKE_INSTALL_DATADIR}/doc/libmoraine-doc" COMPONENT moraine_documentation
    PATTERN Doxyfile EXCLUDE PATTERN "*.sed" EXCLUDE PATTERN "*.dox" EXCLUDE PATTERN CMakeLists.txt EXCLUDE)
install(FILES "${PROJECT_BINARY_DIR}/moraine.pc" "${PROJECT_BINARY_DIR}/moraine-extras.pc" DESTINATION "${moraine_pkgconfig_dir}" COMPONENT moraine_development)

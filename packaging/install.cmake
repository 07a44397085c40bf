# What `cmake --install` puts where, in three components: what a camera needs, what building a host
# needs beside it, and the virtual camera for a host at a desk.
include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/autofocus)
set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

install(TARGETS autofocus EXPORT autofocus
  LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    COMPONENT runtime NAMELINK_COMPONENT development)
install(DIRECTORY include/
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT autofocus NAMESPACE autofocus:: FILE autofocusTargets.cmake
  DESTINATION ${package_dir} COMPONENT development)

configure_package_config_file(packaging/autofocusConfig.cmake.in autofocusConfig.cmake
  INSTALL_DESTINATION ${package_dir}
  NO_SET_AND_CHECK_MACRO NO_CHECK_REQUIRED_COMPONENTS_MACRO)
# Before 1.0 a minor version may change the interface.
write_basic_package_version_file(autofocusConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/autofocusConfig.cmake
              ${PROJECT_BINARY_DIR}/autofocusConfigVersion.cmake
  DESTINATION ${package_dir} COMPONENT development)

# The prefix is told from where the file lies, so that an installed tree can be moved.
file(RELATIVE_PATH prefix_from_pkgconfig /prefix/${pkgconfig_dir} /prefix)
configure_file(packaging/autofocus.pc.in autofocus.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/autofocus.pc
  DESTINATION ${pkgconfig_dir} COMPONENT development)

set(example_dir ${CMAKE_INSTALL_DATADIR}/doc/libautofocus-dev/examples)
install(FILES examples/host.c examples/three_presets.c examples/CMakeLists.txt examples/controller.txt
  DESTINATION ${example_dir} COMPONENT development)

if(TARGET virtual_camera_preload)
  install(TARGETS virtual_camera_preload
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT virtual_camera)
endif()

# Debian packages, one a component of install.cmake: `cpack -G DEB` in the build folder.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_CONTACT "the autofocus maintainers <autofocus@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION libs)

set(library_package libautofocus${PROJECT_VERSION_MAJOR})
set(same_version "(= ${PROJECT_VERSION})")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library_package})
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "The shared library.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libautofocus-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "Headers, pkg-config file, CMake package and an example host.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library_package} ${same_version}, libc6-dev")

set(CPACK_COMPONENTS_ALL runtime development)
if(TARGET virtual_camera_preload)
  list(APPEND CPACK_COMPONENTS_ALL virtual_camera)
  set(CPACK_DEBIAN_VIRTUAL_CAMERA_PACKAGE_NAME autofocus-virtual-camera)
  set(CPACK_DEBIAN_VIRTUAL_CAMERA_PACKAGE_SECTION devel)
  set(CPACK_COMPONENT_VIRTUAL_CAMERA_DESCRIPTION
      "Simulated devices for a host at a desk, loaded by LD_PRELOAD.")
  set(CPACK_DEBIAN_VIRTUAL_CAMERA_PACKAGE_SHLIBDEPS ON)
endif()

include(CPack)

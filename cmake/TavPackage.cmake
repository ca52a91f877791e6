# Debian packages by cpack, from a build configured with -DCMAKE_INSTALL_PREFIX=/usr: libtavexpression-dev, and with a
# shared library libtavexpression<SOVERSION>, on which it depends.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR})
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_PACKAGE_CONTACT "The tavexpression team <tavexpression@localhost>")
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")

set(tav_about "Variables, linear sums and about sixty classes of expression nodes in C++20: built
by operators, evaluated, printed in two syntaxes, cloned and changed.
.
")
install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtavexpression-dev RENAME copyright COMPONENT dev)
set(CPACK_COMPONENTS_ALL dev)
set(CPACK_DEBIAN_DEV_PACKAGE_NAME libtavexpression-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_DESCRIPTION
    "${tav_about}This package has the headers, the library to link with, a CMake package and
a pkg-config file.")
if(BUILD_SHARED_LIBS)
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/libtavexpression${tav_soversion} RENAME copyright
          COMPONENT runtime)
  list(APPEND CPACK_COMPONENTS_ALL runtime)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libtavexpression${tav_soversion})
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
  set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "${tav_about}This package has the shared library.")
  set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION})")
endif()
include(CPack)

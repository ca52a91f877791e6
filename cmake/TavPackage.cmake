# Debian packages by cpack, from a build configured with -DCMAKE_INSTALL_PREFIX=/usr: libtavexpression-dev, and with a
# shared library libtavexpression<SOVERSION>, on which it depends; tavsolve where it is built, and tavsolve-mpi, which
# alone depends on MPI.
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
if(TARGET tavsolve)
  install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tavsolve RENAME copyright COMPONENT solve)
  list(APPEND CPACK_COMPONENTS_ALL solve)
  set(CPACK_DEBIAN_SOLVE_PACKAGE_NAME tavsolve)
  set(CPACK_DEBIAN_SOLVE_PACKAGE_SECTION math)
  set(CPACK_DEBIAN_SOLVE_PACKAGE_SHLIBDEPS ON)
  set(CPACK_DEBIAN_SOLVE_DESCRIPTION
      "Solver of optimisation models in MPS, LP and .nl files
Reads a model, solves it with the engine that suits its class, edits it while it
stays loaded in the solver, and solves it again. Modelling systems can call it.")
  if(TARGET tavsolve-mpi)
    install(FILES LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tavsolve-mpi RENAME copyright COMPONENT ranks)
    list(APPEND CPACK_COMPONENTS_ALL ranks)
    set(CPACK_DEBIAN_RANKS_PACKAGE_NAME tavsolve-mpi)
    set(CPACK_DEBIAN_RANKS_PACKAGE_SECTION math)
    set(CPACK_DEBIAN_RANKS_PACKAGE_SHLIBDEPS ON)
    set(CPACK_DEBIAN_RANKS_PACKAGE_DEPENDS "tavsolve (= ${PROJECT_VERSION})")
    set(CPACK_DEBIAN_RANKS_DESCRIPTION
        "Solver of optimisation models, on several machines
tavsolve executes this program when mpirun has started it several times to solve
the scenarios of a model.")
  endif()
  if(BUILD_SHARED_LIBS)
    # The library's own package is not installed here, so that its dependency is not among those that are generated.
    set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${PROJECT_BINARY_DIR} ${PROJECT_BINARY_DIR}/modelfile)
    set(CPACK_DEBIAN_SOLVE_PACKAGE_DEPENDS "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${PROJECT_VERSION})")
  endif()
endif()
include(CPack)

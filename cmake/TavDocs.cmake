# The target `docs`: the reference, build/PRESET/reference/html/index.html. Undocumented members and dead links fail it.
find_package(Doxygen 1.9.4 QUIET)
if(NOT DOXYGEN_FOUND)
  message(STATUS "Doxygen 1.9.4 or later not found: there is no target `docs`")
  return()
endif()
configure_file(docs/doxygen/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
find_package(Python3 QUIET COMPONENTS Interpreter)
if(Python3_FOUND)
  set(check_links COMMAND Python3::Interpreter ${PROJECT_SOURCE_DIR}/docs/doxygen/check_links.py
                          ${PROJECT_BINARY_DIR}/reference/html)
endif()
add_custom_target(docs COMMAND Doxygen::doxygen ${PROJECT_BINARY_DIR}/Doxyfile ${check_links} VERBATIM)

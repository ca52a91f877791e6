# The target `docs`: the reference, build/PRESET/reference/html/index.html. Whatever is undocumented fails it.
find_package(Doxygen 1.9.4 QUIET)
if(NOT DOXYGEN_FOUND)
  message(STATUS "Doxygen 1.9.4 or later not found: there is no target `docs`")
  return()
endif()
configure_file(docs/doxygen/Doxyfile.in ${PROJECT_BINARY_DIR}/Doxyfile @ONLY)
add_custom_target(docs COMMAND Doxygen::doxygen ${PROJECT_BINARY_DIR}/Doxyfile VERBATIM)

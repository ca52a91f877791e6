# Runs PROGRAM in GDB with the printers and fails unless the debugger prints the text of output.txt.
get_filename_component(root ${CMAKE_CURRENT_LIST_DIR}/../.. ABSOLUTE)
execute_process(
  COMMAND ${CMAKE_COMMAND} -E env --unset=DEBUGINFOD_URLS ${GDB} -nx -q -batch -x ${root}/tools/gdb/tavexpression.py -x
          ${CMAKE_CURRENT_LIST_DIR}/commands ${PROGRAM}
  OUTPUT_VARIABLE output ERROR_VARIABLE output)
file(READ ${CMAKE_CURRENT_LIST_DIR}/output.txt expected)
string(FIND "${output}" "${expected}" at)
if(at LESS 0)
  message(FATAL_ERROR "gdb printed:\n${output}\ninstead of:\n${expected}")
endif()

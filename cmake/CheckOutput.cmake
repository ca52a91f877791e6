# Runs PROGRAM with ARGS (a list) and fails unless it ends with 0 and prints exactly the text of the file EXPECTED.
execute_process(COMMAND ${PROGRAM} ${ARGS} OUTPUT_VARIABLE output RESULT_VARIABLE result)
file(READ ${EXPECTED} expected)
if(NOT result EQUAL 0)
  message(FATAL_ERROR "${PROGRAM} ended with ${result}; it printed:\n${output}")
endif()
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "${PROGRAM} printed:\n${output}\ninstead of:\n${expected}")
endif()

# Installs the built library into a fresh folder, then configures, builds and runs the consumer against it.
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "ended with ${result}: ${command}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
set(ENV{DESTDIR})
run(${CMAKE_COMMAND} --install ${BUILD_DIR} --config ${CONFIG} --prefix ${WORK_DIR}/first)
# Used from another place than it was installed to: the package must not remember paths.
file(RENAME ${WORK_DIR}/first ${WORK_DIR}/moved)
run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/build -G ${GENERATOR} -DCMAKE_BUILD_TYPE=${CONFIG}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_CXX_FLAGS=${CXX_FLAGS} -DCMAKE_PREFIX_PATH=${WORK_DIR}/moved
    -DWANTED_VERSION=${VERSION})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build --config ${CONFIG})
find_program(consumer consumer PATHS ${WORK_DIR}/build ${WORK_DIR}/build/${CONFIG} NO_DEFAULT_PATH REQUIRED)
run(${consumer})

# Installs the built library into a fresh folder, then builds and runs consumers against it: one that finds it by CMake's
# package, one by pkg-config, and with a shared library programs with plug-ins. A build that is configured for /usr also
# makes its Debian packages; then it is their contents that the consumers find.
function(run)
  execute_process(COMMAND ${ARGV} RESULT_VARIABLE result)
  if(NOT result EQUAL 0)
    list(JOIN ARGV " " command)
    message(FATAL_ERROR "ended with ${result}: ${command}")
  endif()
endfunction()

file(REMOVE_RECURSE ${WORK_DIR})
set(ENV{DESTDIR})
if(PREFIX STREQUAL "/usr")
  run(${CPACK} --config ${BUILD_DIR}/CPackConfig.cmake -C ${CONFIG} -B ${WORK_DIR}/packages)
  file(GLOB packages ${WORK_DIR}/packages/*.deb)
  list(TRANSFORM packages REPLACE ".*/([^/_]+)_[^/]*$" "\\1" OUTPUT_VARIABLE names)
  list(FILTER names EXCLUDE REGEX "^tavsolve-mpi$")  # where MPI was found
  if(NOT names MATCHES "^libtavexpression-dev;libtavexpression[0-9.]+;tavsolve$")
    message(FATAL_ERROR "these Debian packages were made: ${packages}")
  endif()
  foreach(package IN LISTS packages)
    run(dpkg-deb --extract ${package} ${WORK_DIR}/root)
  endforeach()
  set(tree ${WORK_DIR}/root/usr)
else()
  run(${CMAKE_COMMAND} --install ${BUILD_DIR} --config ${CONFIG} --prefix ${WORK_DIR}/first)
  # Used from another place than it was installed to: the package must not remember paths.
  set(tree ${WORK_DIR}/moved)
  file(RENAME ${WORK_DIR}/first ${tree})
endif()

string(REGEX MATCH "^([0-9]+)\\.([0-9]+)\\.([0-9]+)$" version ${VERSION})
math(EXPR number "${CMAKE_MATCH_1} * 10000 + ${CMAKE_MATCH_2} * 100 + ${CMAKE_MATCH_3}")

run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/build -G ${GENERATOR} -DCMAKE_BUILD_TYPE=${CONFIG}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} -DCMAKE_CXX_FLAGS=${CXX_FLAGS} -DCMAKE_PREFIX_PATH=${tree}
    -DWANTED_VERSION=${VERSION} -DWANTED_NUMBER=${number} -DSHARING=${SHARED})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build --config ${CONFIG})
set(programs ${WORK_DIR}/build ${WORK_DIR}/build/${CONFIG})

# Every declaration of the installed headers has a symbol in the installed library.
find_program(clang clang++)
find_program(python python3)
if(clang AND python)
  file(GLOB_RECURSE libraries ${tree}/libtavexpression.a ${tree}/libtavexpression.so)
  run(${python} ${CONSUMER_DIR}/symbols.py ${clang} ${tree}/include/tavexpression ${libraries}
      expression/tavexpression.h expression/nodes.h)
else()
  message("clang++ or python3 is missing: the library's symbols are not compared with its headers")
endif()

find_program(consumer consumer PATHS ${programs} NO_DEFAULT_PATH REQUIRED)
run(${consumer})
if(SHARED)
  find_file(plugin libplugin.so PATHS ${programs} NO_DEFAULT_PATH REQUIRED)
  file(COPY_FILE ${plugin} ${WORK_DIR}/second_plugin.so)
  foreach(name sharing sharing_fixed apart)
    find_program(${name} ${name} PATHS ${programs} NO_DEFAULT_PATH REQUIRED)
    run(${${name}} ${plugin} ${WORK_DIR}/second_plugin.so)
  endforeach()
endif()

find_program(pkg_config pkg-config REQUIRED)
file(GLOB_RECURSE pc ${tree}/tavexpression.pc)
cmake_path(GET pc PARENT_PATH pc_dir)
set(ENV{PKG_CONFIG_PATH} ${pc_dir})
run(${pkg_config} --exact-version=${VERSION} tavexpression)
execute_process(COMMAND ${pkg_config} --cflags --libs tavexpression OUTPUT_VARIABLE flags
                OUTPUT_STRIP_TRAILING_WHITESPACE)
separate_arguments(flags UNIX_COMMAND "${CXX_FLAGS} -std=c++20 ${CONSUMER_DIR}/main.cpp ${flags}")
run(${CXX_COMPILER} -DWANTED=${number} -o ${WORK_DIR}/by_pkg_config ${flags})
cmake_path(GET pc_dir PARENT_PATH lib_dir)
set(ENV{LD_LIBRARY_PATH} ${lib_dir})
run(${WORK_DIR}/by_pkg_config)

# The program, with its man page and completion.
execute_process(COMMAND ${tree}/bin/tavsolve ${CONSUMER_DIR}/../../solve/models/transport.mps OUTPUT_VARIABLE output)
if(NOT output MATCHES "\nobjective  153.675\n")
  message(FATAL_ERROR "the installed tavsolve printed: ${output}")
endif()
foreach(text man/man1/tavsolve.1 bash-completion/completions/tavsolve minizinc/solvers/tavsolve.msc)
  file(READ ${tree}/share/${text} contents)
  if(NOT contents MATCHES "set.*bounds|supportsNL")
    message(FATAL_ERROR "${text} lacks its contents")
  endif()
endforeach()
if(packages)
  list(FILTER packages INCLUDE REGEX "/tavsolve_")
  execute_process(COMMAND dpkg-deb --field ${packages} Depends OUTPUT_VARIABLE depends)
  if(NOT depends MATCHES "libtavexpression" OR NOT depends MATCHES "coinor-libcbc3.*libc6")
    message(FATAL_ERROR "the package tavsolve depends on: ${depends}")
  endif()
endif()

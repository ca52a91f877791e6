# tav_shared(<target>): what a shared library exports and how it calls itself.
#
# Each header opens the default visibility; sources and their helpers are hidden. Inline functions of headers are not:
# programs take those of the classes in expression/classes.inc from the library. Within the library calls go straight to
# its own functions, without the procedure linkage table. There are two exceptions, which every shared object of a program
# must find at one address, wherever the loader has put them: data, and the functions whose addresses are type tokens.
include(CheckLinkerFlag)

# The binary interface may change with each minor version before 1.0.0, with each major version from then on.
set(tav_soversion ${PROJECT_VERSION_MAJOR})
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(tav_soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
endif()

set(tav_tokens ${CMAKE_CURRENT_LIST_DIR}/tokens.list)
set(tav_bind_calls "LINKER:-Bsymbolic-functions,--dynamic-list-data,--dynamic-list=${tav_tokens}")
if(BUILD_SHARED_LIBS)
  check_linker_flag(CXX "${tav_bind_calls}" TAV_CAN_BIND_ITS_CALLS)
endif()

function(tav_shared target)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden)
  if(NOT BUILD_SHARED_LIBS)
    return()
  endif()
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  if(TAV_CAN_BIND_ITS_CALLS)
    # clang++ takes it for variables too.
    target_compile_options(${target} PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
    target_link_options(${target} PRIVATE "${tav_bind_calls}")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${tav_tokens})
  endif()
endfunction()

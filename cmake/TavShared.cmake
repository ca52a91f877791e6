# tav_shared(<target>): what a shared library exports and how it calls itself.
#
# Each header opens the default visibility; sources and their helpers are hidden. Inline functions of headers are not:
# programs take those of the classes in expression/classes.inc from the library. Within the library calls go straight to
# its own functions, without the procedure linkage table. Type tokens are excepted: a token is a function's address, which
# must be the same in every shared object of a program, whichever of them the loader takes the function from.
include(CheckLinkerFlag)

# The binary interface may change with each minor version before 1.0.0, with each major version from then on.
set(tav_soversion ${PROJECT_VERSION_MAJOR})
if(PROJECT_VERSION_MAJOR EQUAL 0)
  set(tav_soversion ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
endif()

set(tav_tokens ${CMAKE_CURRENT_LIST_DIR}/tokens.list)
if(BUILD_SHARED_LIBS)
  check_linker_flag(CXX "LINKER:-Bsymbolic-functions,--dynamic-list=${tav_tokens}" TAV_CAN_BIND_ITS_CALLS)
endif()

function(tav_shared target)
  set_target_properties(${target} PROPERTIES CXX_VISIBILITY_PRESET hidden)
  if(NOT BUILD_SHARED_LIBS)
    return()
  endif()
  set_target_properties(${target} PROPERTIES POSITION_INDEPENDENT_CODE ON)
  if(TAV_CAN_BIND_ITS_CALLS)
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
    target_link_options(${target} PRIVATE "LINKER:-Bsymbolic-functions,--dynamic-list=${tav_tokens}")
    set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${tav_tokens})
  endif()
endfunction()

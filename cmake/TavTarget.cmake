# How every target of this project is compiled: tav_target(<target>).

# The library guarantees the order of evaluation, NaN and -0.0; these flags break the guarantee.
get_directory_property(tav_inherited_options COMPILE_OPTIONS)
string(TOUPPER "${CMAKE_BUILD_TYPE}" tav_config)
set(tav_all_flags "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${tav_config}} ${tav_inherited_options}")
if(tav_all_flags MATCHES "-(ffast-math|Ofast|funsafe-math-optimizations|ffinite-math-only|fassociative-math)")
  message(FATAL_ERROR "tavexpression: ${CMAKE_MATCH_0} is in the compiler flags; "
                      "the library promises IEEE values and a fixed order of evaluation, so it cannot be built with it")
endif()

# With TAV_BUILD_ONCE, a build from nothing costs half the processor time: the sources of a target are one unit, and the
# most expensive headers are precompiled in two sets, `library`, and `tests`, which has GoogleTest too. It is not for
# editing: every change compiles a whole target, and a missing include is not noticed.
# tav_precompiled_set(<set> <header>...): defines a set.
function(tav_precompiled_set set)
  if(NOT TAV_BUILD_ONCE)
    return()
  endif()
  set(source ${PROJECT_BINARY_DIR}/tav_precompiled_${set}.cpp)
  file(CONFIGURE OUTPUT ${source} CONTENT "")
  add_library(tav_precompiled_${set} OBJECT ${source})
  target_include_directories(tav_precompiled_${set} PRIVATE ${PROJECT_SOURCE_DIR})
  tav_options(tav_precompiled_${set})
  list(TRANSFORM ARGN PREPEND "${PROJECT_SOURCE_DIR}/" REGEX "^[a-z]")
  target_precompile_headers(tav_precompiled_${set} PRIVATE ${ARGN})
endfunction()

# tav_target(<target> [<set>]): the options of all targets; the set is `library` unless named.
function(tav_target target)
  tav_options(${target})
  if(TAV_BUILD_ONCE)
    set(sets library ${ARGN})
    list(GET sets -1 set)
    target_precompile_headers(${target} REUSE_FROM tav_precompiled_${set})
  endif()
endfunction()

# tav_units_by_folder(<target> <folder>...): a unit for each folder, where the names in one folder may be those of another.
function(tav_units_by_folder target)
  set_target_properties(${target} PROPERTIES UNITY_BUILD_MODE GROUP)
  foreach(folder IN LISTS ARGN)
    file(GLOB sources CONFIGURE_DEPENDS ${folder}/*.cpp)
    set_source_files_properties(${sources} PROPERTIES UNITY_GROUP ${folder})
  endforeach()
endfunction()

function(tav_options target)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF UNITY_BUILD ${TAV_BUILD_ONCE} UNITY_BUILD_BATCH_SIZE 0)
  target_compile_features(${target} PRIVATE cxx_std_20)
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    # -Wall contains the form of -Woverloaded-virtual that accepts a class which overrides one of several overloads. Before
    # g++ 13 the warning rejects such classes, and several functions of the protocol are overloads.
    target_compile_options(${target} PRIVATE -ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                             -Wnon-virtual-dtor $<$<BOOL:${TAV_WERROR}>:-Werror>)
  endif()
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    # Part of -Wconversion here but not in g++: sizes and 64-bit indices are mixed everywhere, without any fault.
    target_compile_options(${target} PRIVATE -Wno-sign-conversion)
  endif()
endfunction()

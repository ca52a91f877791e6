# How every target of this project is compiled: tav_target(<target>).

# Order of evaluation, NaN and -0.0 are promised; these flags break the promise.
get_directory_property(tav_inherited_options COMPILE_OPTIONS)
string(TOUPPER "${CMAKE_BUILD_TYPE}" tav_config)
set(tav_all_flags "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${tav_config}} ${tav_inherited_options}")
if(tav_all_flags MATCHES "-(ffast-math|Ofast|funsafe-math-optimizations|ffinite-math-only|fassociative-math)")
  message(FATAL_ERROR "tavexpression: ${CMAKE_MATCH_0} is in the compiler flags; "
                      "the library promises IEEE values and a fixed order of evaluation, so it cannot be built with it")
endif()

# tav_precompile(<target> <header>...): precompiles headers with TAV_PRECOMPILE, which makes a build from nothing faster.
function(tav_precompile target)
  if(TAV_PRECOMPILE)
    list(TRANSFORM ARGN PREPEND "${PROJECT_SOURCE_DIR}/" REGEX "^[a-z]")
    target_precompile_headers(${target} PRIVATE ${ARGN})
  endif()
endfunction()

function(tav_target target)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_features(${target} PRIVATE cxx_std_20)
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    # -Woverloaded-virtual comes with -Wall where it spares a class that overrides one of the overloads; before g++ 13 it
    # does not spare them, and several slots of the protocol are overloads.
    target_compile_options(${target} PRIVATE -ffp-contract=off -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                                             -Wnon-virtual-dtor $<$<BOOL:${TAV_WERROR}>:-Werror>)
  endif()
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    # Part of -Wconversion here but not in g++: sizes and 64-bit indices meet everywhere, without a fault to find.
    target_compile_options(${target} PRIVATE -Wno-sign-conversion)
  endif()
endfunction()

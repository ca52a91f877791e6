# How every target of this project is compiled: tav_target(<target>).

# The library guarantees the order of evaluation, NaN and -0.0; these flags break the guarantee.
get_directory_property(tav_inherited_options COMPILE_OPTIONS)
string(TOUPPER "${CMAKE_BUILD_TYPE}" tav_config)
set(tav_all_flags "${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${tav_config}} ${tav_inherited_options}")
if(tav_all_flags MATCHES "-(ffast-math|Ofast|funsafe-math-optimizations|ffinite-math-only|fassociative-math)")
  message(FATAL_ERROR "tavexpression: ${CMAKE_MATCH_0} is in the compiler flags; "
                      "the library promises IEEE values and a fixed order of evaluation, so it cannot be built with it")
endif()

# tav_precompile(<target> <header>...): precompiles headers with TAV_PRECOMPILE, which makes a clean build faster.
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

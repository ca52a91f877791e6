# tav_instruction_sets(<source>...): the sources NAME_avx2.cpp and NAME_avx512.cpp are compiled for these
# instruction sets, where the target is x86-64. They are chosen at run time, so nothing that others could link may come
# from them: each is a unit of its own.
function(tav_instruction_sets)
  if(NOT CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" OR NOT CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    return()
  endif()
  # Optimised in every build: what is not inlined could be linked into code for other processors.
  set(avx2 -O3 -mavx2 -mfma)
  # By default g++ prefers vectors of half the width.
  set(avx512 ${avx2} -mavx512f -mavx512dq -mprefer-vector-width=512)
  foreach(source IN LISTS ARGN)
    if(source MATCHES "_(avx2|avx512)\\.cpp$")
      set_source_files_properties(${source} PROPERTIES COMPILE_OPTIONS "${${CMAKE_MATCH_1}}" SKIP_UNITY_BUILD_INCLUSION ON SKIP_PRECOMPILE_HEADERS ON)
    endif()
  endforeach()
endfunction()

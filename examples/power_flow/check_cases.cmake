# Solves the cases of PGLib-OPF that are there and compares the costs with the published ones, which have five digits.
# Usage: cmake -DPROGRAM=FILE [-DALL=ON] -P check_cases.cmake, with TAV_SHARED_DATA naming the folder that contains
# pglib/; without it that folder is ../shared/data beside the checkout. ALL adds the case of 1,354 buses, which takes
# minutes without optimisation, and what is known of it: 49 iterations, as with derivatives by hand, and less than 5 %
# of the time in the evaluator.
set(cases case3_lmbd 5812.6 case5_pjm 17551.9 case14_ieee 2178.1 case30_ieee 8208.5 case118_ieee 97213.6
          case300_ieee 565220.0)
if(ALL)
  list(APPEND cases case1354_pegase 1258844.0)
endif()
set(folder "${CMAKE_CURRENT_LIST_DIR}/../../../shared/data/pglib")
if(DEFINED ENV{TAV_SHARED_DATA})
  set(folder "$ENV{TAV_SHARED_DATA}/pglib")
endif()
if(NOT IS_DIRECTORY "${folder}")
  message("skipped: no folder ${folder} (or TAV_SHARED_DATA)")
  return()
endif()
while(cases)
  list(POP_FRONT cases case cost)
  execute_process(COMMAND "${PROGRAM}" --time "${folder}/pglib_opf_${case}.m" OUTPUT_VARIABLE output
                  RESULT_VARIABLE result)
  if(NOT result EQUAL 0 OR NOT output MATCHES "cost ${cost} ")
    message(SEND_ERROR "${case}: the cost is not ${cost}:\n${output}")
  endif()
  if(case STREQUAL case1354_pegase)
    string(REGEX MATCH "([0-9]+) iterations, .* ([0-9.]+) % of it" found "${output}")
    if(NOT found OR CMAKE_MATCH_1 GREATER 49 OR CMAKE_MATCH_2 GREATER_EQUAL 5)
      message(SEND_ERROR "${case}: more than 49 iterations, or 5 % of the time in the evaluator:\n${output}")
    endif()
  endif()
endwhile()

# Play the demo twice, side by side under OUT, and compare the traces. The second time with another
# build of the library, if SECOND_LIBRARY names its folder.
foreach(run first second)
  if(run STREQUAL second AND SECOND_LIBRARY)
    set(ENV{LD_LIBRARY_PATH} ${SECOND_LIBRARY})
  endif()
  execute_process(COMMAND ${DEMO} --seed 3 --out ${OUT}/${run} OUTPUT_VARIABLE timeline
                  RESULT_VARIABLE status)
  if(NOT status EQUAL 0)
    message(FATAL_ERROR "demo --seed 3 ended with ${status}:\n${timeline}")
  endif()
endforeach()
execute_process(COMMAND cmp ${OUT}/first/trace.txt ${OUT}/second/trace.txt RESULT_VARIABLE status)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "two runs with --seed 3 differ: see ${OUT}")
endif()

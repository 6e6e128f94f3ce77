# Runs kvpack as a user would and checks its exit code and output.
#   cmake -DKVPACK=<[emulator|]program> -DARGS=<a|b|...> -DEXPECT_EXIT=<n>
#         -DEXPECT_OUTPUT=<regex|regex...> -DREJECT_OUTPUT=<regex> -P RunKvpack.cmake
foreach(list KVPACK ARGS EXPECT_OUTPUT)
  string(REPLACE "|" ";" ${list} "${${list}}")
endforeach()
execute_process(COMMAND ${KVPACK} ${ARGS} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
string(REPLACE "\r" "" all "${out}${err}")
if(NOT rc STREQUAL EXPECT_EXIT)
  message(FATAL_ERROR "exit code ${rc}, expected ${EXPECT_EXIT}\n${all}")
endif()
foreach(re IN LISTS EXPECT_OUTPUT)
  if(NOT all MATCHES "${re}")
    message(FATAL_ERROR "output lacks '${re}':\n${all}")
  endif()
endforeach()
if(NOT REJECT_OUTPUT STREQUAL "" AND all MATCHES "${REJECT_OUTPUT}")
  message(FATAL_ERROR "output must not match '${REJECT_OUTPUT}':\n${all}")
endif()

# Runs the animation-file fuzzer for a bounded time, seeded with the test
# animation, its palette and every kept bad input.
#   -DFUZZER=... -DDATA=dir -DWORK=dir -DSECONDS=n
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/corpus)
file(GLOB seeds ${DATA}/*.ao ${DATA}/*.rgb ${DATA}/bad/*)
file(COPY ${seeds} DESTINATION ${WORK}/corpus)
execute_process(COMMAND ${FUZZER} -max_total_time=${SECONDS} -timeout=10 -rss_limit_mb=1024 -max_len=8192
    -artifact_prefix=${WORK}/ ${WORK}/corpus
  WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status ERROR_VARIABLE err)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "fuzzer found a failure (status ${status}); see ${WORK}\n${err}")
endif()

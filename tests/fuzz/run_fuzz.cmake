# Runs the compiled-script fuzzer for a bounded time, seeded with the
# compiled files of the test scripts.
#   -DBAUBLE=... -DFUZZER=... -DSCRIPTS=dir -DWORK=dir -DSECONDS=n
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK}/corpus)
file(GLOB scripts ${SCRIPTS}/*.mps)
foreach(script ${scripts})
  get_filename_component(base ${script} NAME_WE)
  execute_process(COMMAND ${BAUBLE} compile ${script} -o ${WORK}/corpus/${base}.bsc
    OUTPUT_QUIET ERROR_QUIET)
endforeach()
execute_process(COMMAND ${FUZZER} -max_total_time=${SECONDS} -timeout=10 -rss_limit_mb=1024 -max_len=4096
    -artifact_prefix=${WORK}/ ${WORK}/corpus
  WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status ERROR_VARIABLE err)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "fuzzer found a failure (status ${status}); see ${WORK}\n${err}")
endif()

# Runs one script with `bauble run --headless` in a scratch directory and
# compares its "debug.txt" with the expected lines, and its exit status.
#   -DBAUBLE=... -DSCRIPT=dir/name.mps -DWORK=dir [-DEXPECT_STATUS=n]
#   [-DEXPECT_STDERR=regex] [-DARGS=...] [-DEXPECTED=file of the lines]
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
get_filename_component(name ${SCRIPT} NAME)
if(EXISTS ${SCRIPT})
  file(COPY ${SCRIPT} DESTINATION ${WORK})
endif()
if(NOT DEFINED EXPECT_STATUS)
  set(EXPECT_STATUS 0)
endif()
separate_arguments(extra UNIX_COMMAND "${ARGS}")
execute_process(COMMAND ${BAUBLE} run --headless --max-ticks 20000 ${extra} ${name}
  WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status ERROR_VARIABLE err OUTPUT_VARIABLE out)
if(NOT status EQUAL EXPECT_STATUS)
  message(FATAL_ERROR "exit status ${status}, expected ${EXPECT_STATUS}\n${err}")
endif()
if(DEFINED EXPECT_STDERR AND NOT err MATCHES "${EXPECT_STDERR}")
  message(FATAL_ERROR "standard error does not match '${EXPECT_STDERR}':\n${err}")
endif()
if(status EQUAL 0)
  include(${CMAKE_CURRENT_LIST_DIR}/expect_said.cmake)
  expect_said(${WORK} ${EXPECTED})
endif()

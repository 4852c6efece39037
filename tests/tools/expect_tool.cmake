# Runs bauble with ARGS in a scratch directory and checks its exit status,
# and what it wrote to standard output and standard error.
#   -DBAUBLE=... -DWORK=dir "-DARGS=a b ..." -DEXPECT_STATUS=n
#   [-DEXPECT_STDOUT=regex] [-DEXPECT_STDERR=regex]
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
separate_arguments(args UNIX_COMMAND "${ARGS}")
execute_process(COMMAND ${BAUBLE} ${args}
  WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL EXPECT_STATUS)
  message(FATAL_ERROR "exit status ${status}, expected ${EXPECT_STATUS}\n${out}${err}")
endif()
foreach(stream out err)
  string(TOUPPER "EXPECT_STD${stream}" want)
  if(DEFINED ${want} AND NOT ${stream} MATCHES "${${want}}")
    message(FATAL_ERROR "std${stream} does not match '${${want}}':\n${${stream}}")
  endif()
endforeach()

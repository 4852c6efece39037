# Compiles a script with `bauble compile` in a scratch directory, then runs
# only the compiled file with `bauble run --headless` and compares its
# "debug.txt" with the lines expected of the source; `bauble inspect` must
# list the file. With EXPECT_STATUS, only the compile step runs and must end
# with that status (and EXPECT_STDERR on standard error). EXPECT_INSPECT is
# a pattern the listing must hold.
#   -DBAUBLE=... -DSCRIPT=dir/name.mps -DWORK=dir [-DEXPECT_STATUS=n]
#   [-DEXPECT_STDERR=regex] [-DEXPECT_INSPECT=regex]
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
get_filename_component(name ${SCRIPT} NAME)
get_filename_component(base ${SCRIPT} NAME_WE)
get_filename_component(dir ${SCRIPT} DIRECTORY)
file(COPY ${SCRIPT} DESTINATION ${WORK})

execute_process(COMMAND ${BAUBLE} compile ${name} -o ${base}.bsc
  WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status ERROR_VARIABLE err)
if(DEFINED EXPECT_STATUS)
  if(NOT status EQUAL EXPECT_STATUS)
    message(FATAL_ERROR "compile: exit status ${status}, expected ${EXPECT_STATUS}\n${err}")
  endif()
  if(DEFINED EXPECT_STDERR AND NOT err MATCHES "${EXPECT_STDERR}")
    message(FATAL_ERROR "compile: standard error does not match '${EXPECT_STDERR}':\n${err}")
  endif()
  if(EXISTS ${WORK}/${base}.bsc)
    message(FATAL_ERROR "compile: a failed compile left ${base}.bsc")
  endif()
  return()
endif()
if(NOT status EQUAL 0)
  message(FATAL_ERROR "compile: exit status ${status}\n${err}")
endif()
# The source goes, so the run can only have the compiled file.
file(REMOVE ${WORK}/${name})

execute_process(COMMAND ${BAUBLE} run --headless --max-ticks 20000 ${base}.bsc
  WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status ERROR_VARIABLE err)
if(NOT status EQUAL 0)
  message(FATAL_ERROR "run: exit status ${status}\n${err}")
endif()
include(${CMAKE_CURRENT_LIST_DIR}/expect_said.cmake)
expect_said(${WORK} ${dir}/${base}.expected)

execute_process(COMMAND ${BAUBLE} inspect ${base}.bsc
  WORKING_DIRECTORY ${WORK} RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT status EQUAL 0 OR NOT out MATCHES "compiled script, little-endian \\(format 2\\)\n[0-9]+ statements\n.*ycEnd.*code words\n.*heap: [0-9]+ entries")
  message(FATAL_ERROR "inspect: exit status ${status}\n${out}${err}")
endif()
if(DEFINED EXPECT_INSPECT AND NOT out MATCHES "${EXPECT_INSPECT}")
  message(FATAL_ERROR "inspect: the listing does not match '${EXPECT_INSPECT}':\n${out}")
endif()

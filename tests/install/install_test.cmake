# Installs the build into a scratch prefix, builds examples/minimal_host
# against it with find_package, builds the same source with pkg-config flags,
# and runs both; then builds and runs examples/tour_host, which uses every
# class the library exports.
file(REMOVE_RECURSE ${WORK_DIR})
set(PREFIX ${WORK_DIR}/prefix)

function(run)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "failed (${rc}): ${ARGN}\n${out}\n${err}")
  endif()
  set(LAST_OUTPUT "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${PREFIX})

run(${CMAKE_COMMAND} -S ${HOST_DIR} -B ${WORK_DIR}/host -G ${GENERATOR}
    -DCMAKE_PREFIX_PATH=${PREFIX})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/host)
run(${WORK_DIR}/host/minimal_host)
if(NOT LAST_OUTPUT MATCHES "baublecore 1\\.00a - ")
  message(FATAL_ERROR "unexpected output from the installed host: ${LAST_OUTPUT}")
endif()

file(GLOB_RECURSE pcfile ${PREFIX}/*/baublecore.pc)
get_filename_component(pcdir "${pcfile}" DIRECTORY)
set(ENV{PKG_CONFIG_PATH} ${pcdir})
run(pkg-config --cflags --libs baublecore)
string(STRIP "${LAST_OUTPUT}" flags)
separate_arguments(flags UNIX_COMMAND "${flags}")
get_filename_component(libdir "${pcdir}" DIRECTORY)
run(c++ -std=c++20 ${HOST_DIR}/main.cpp ${flags} -Wl,-rpath,${libdir} -o ${WORK_DIR}/pc_host)
run(${WORK_DIR}/pc_host)
if(NOT LAST_OUTPUT MATCHES "baublecore 1\\.00a - ")
  message(FATAL_ERROR "unexpected output from the pkg-config host: ${LAST_OUTPUT}")
endif()

run(${CMAKE_COMMAND} -S ${TOUR_DIR} -B ${WORK_DIR}/tour -G ${GENERATOR} -DCMAKE_PREFIX_PATH=${PREFIX})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/tour)
run(${WORK_DIR}/tour/tour_host)
if(NOT LAST_OUTPUT MATCHES "tour host: ok")
  message(FATAL_ERROR "unexpected output from the tour host: ${LAST_OUTPUT}")
endif()

# bauble ao and bauble palette on the test frames: build gives the kept
# file byte for byte, info shows the shared cel and pack's picture, palettes
# go to a swatch and back, and refusals end with their statuses.
#   -DBAUBLE=... -DDATA=dir -DWORK=dir
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})

# run(STATUS PATTERN args...): the status expected, and a pattern that
# standard output and error together must match.
function(run status pattern)
  execute_process(COMMAND ${BAUBLE} ${ARGN} WORKING_DIRECTORY ${WORK}
    RESULT_VARIABLE got OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT got EQUAL status OR NOT "${out}${err}" MATCHES "${pattern}")
    message(FATAL_ERROR "bauble ${ARGN}: status ${got}, expected ${status}\n${out}${err}")
  endif()
endfunction()

function(same a b)
  file(SHA256 ${a} ha)
  file(SHA256 ${b} hb)
  if(NOT ha STREQUAL hb)
    message(FATAL_ERROR "${a} and ${b} differ")
  endif()
endfunction()

set(frames)
foreach(n 0 1 2 3 4 5)
  list(APPEND frames ${DATA}/walk${n}.png)
endforeach()
run(0 "" ao build --fps 10 ${frames} -o walk.ao)
same(${WORK}/walk.ao ${DATA}/walk.ao)
run(0 "3  frame of cel 0 at \\(18, 9\\).*cel 3: 0 x 0" ao info walk.ao)
run(0 "\"byteOrder\": \"little-endian\"" ao info --json walk.ao)
run(0 "" ao build --fps 5 --hold ${DATA}/walk0.png -o held.ao)
run(0 "0  kAOHold\n +1  frame of cel 0 at \\(2, 5\\)" ao info held.ao)

run(0 "" ao pack ${DATA}/walk1.png -o picture.ao --palette picture.rgb)
run(0 "frames per second: 8.*cel 0: 24 x 16" ao info picture.ao)
same(${WORK}/picture.rgb ${DATA}/walk.rgb)
run(0 "" palette picture.rgb -o swatch.png)
run(0 "" palette swatch.png -o again.rgb)
same(${WORK}/picture.rgb ${WORK}/again.rgb)

run(1 "walk.rgb: animation file refused: it has 0 sequences" ao info ${DATA}/walk.rgb)
run(1 "missing.png" ao pack missing.png -o x.ao --transparent -1)
run(2 "excludes" ao build --fps 10 --once --loop ${DATA}/walk0.png -o x.ao)

# Our own code builds warning-free; bc_warnings(target) turns that on.
function(bc_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()

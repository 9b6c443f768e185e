# Our own targets build with every warning as an error; third-party headers are included as system headers.
function(taskdb_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Werror)
endfunction()

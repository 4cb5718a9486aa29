# Warnings as errors on the project's own code only.
function(orvanta_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Werror)
endfunction()

# Warning flags for the library's own targets; ORVIK_WERROR turns them into errors (CI does).
function(orvik_target_warnings target)
  target_compile_options(${target} PRIVATE -Wall -Wextra)
  if(ORVIK_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

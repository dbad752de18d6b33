# Strict warnings for the project's own targets; third-party headers come in as SYSTEM.
function(vorlix_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
    -Woverloaded-virtual)
  if(VORLIX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

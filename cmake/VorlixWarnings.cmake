# Strict warnings for the project's own targets; third-party headers come in as SYSTEM.
function(vorlix_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Wold-style-cast
    -Woverloaded-virtual)
  if(VORLIX_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  # The sanitizers' instrumentation changes what g++ inlines, and its
  # flow analysis then reports copies of Qt's containers inside std::optional
  # as "maybe uninitialized" where the plain build sees nothing.
  if(VORLIX_ASAN OR VORLIX_TSAN)
    target_compile_options(${target} PRIVATE -Wno-maybe-uninitialized)
  endif()
endfunction()

# newest_tool(VARIABLE NAME): LLVM's tool of that name in the newest version installed, whichever way it is called: distributions have
# clang++-19, or just clang++.
function(newest_tool variable name)
  set(names ${name})
  foreach(version RANGE 14 40)
    list(PREPEND names ${name}-${version})
  endforeach()
  find_program(${variable} NAMES ${names} REQUIRED)
endfunction()

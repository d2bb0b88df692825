# raw_string(<variable> <file>): a C++ literal of the file's text.
function(raw_string variable file)
  file(READ "${file}" text)
  set(${variable} "R\"text(${text})text\"" PARENT_SCOPE)
endfunction()

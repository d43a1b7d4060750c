# vexo_need(FOUND PART THING PACKAGES [OPTION]): ends the configuration unless the variable FOUND is true, and says what PART of the
# project needs, which Debian packages have it, and with which option the project does without.
function(vexo_need found part thing packages)
  if(${found})
    return()
  endif()
  set(without "")
  if(ARGC GREATER 4)
    set(without ", or configure with -D${ARGV4}=OFF")
  endif()
  message(FATAL_ERROR "${part} need ${thing}. Install the package (Debian: apt-get install ${packages})${without}.")
endfunction()

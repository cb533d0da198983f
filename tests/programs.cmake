# Programs that tests start, natively or under an emulator.
#
#   tavlib_program(VARIABLE TARGET [STARTER])
#
# sets VARIABLE to the path with which a test starts the program that TARGET makes: its own, or that of a script that
# has STARTER run it under CMAKE_CROSSCOMPILING_EMULATOR; it is to be called once for each target. BUILT_TAVSIM is set so
# for tavsim, TAVSIM_PROGRAM to the server that the tests talk to.

set(TAVLIB_TAVSIM "" CACHE FILEPATH "The tavsim that the tests talk to; the one that is built when empty")

# At PATH, a script that runs COMMAND with the arguments that it is given itself.
function(tavlib_script path command)
  file(GENERATE OUTPUT ${path} CONTENT "#!/bin/sh\nexec ${command} \"$@\"\n"
    FILE_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE)
endfunction()

function(tavlib_program variable target)
  set(path $<TARGET_FILE:${target}>)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    set(path ${CMAKE_BINARY_DIR}/scripts/${target})
    list(JOIN CMAKE_CROSSCOMPILING_EMULATOR " " emulator)
    if(ARGC GREATER 2)
      string(PREPEND emulator "'${ARGV2}' ")
    endif()
    # A program that starts itself again finds the script.
    tavlib_script(${path} "${emulator} -0 \"$0\" '$<TARGET_FILE:${target}>'")
  endif()
  set(${variable} ${path} PARENT_SCOPE)
endfunction()

# Whether the test NAME is left out on the host that is built for.
function(tavlib_left_out variable name)
  set(${variable} OFF PARENT_SCOPE)
  if(CMAKE_CROSSCOMPILING_EMULATOR)
    file(READ ${PROJECT_SOURCE_DIR}/tests/left_out.txt list)
    string(FIND "${list}" "\n${name} " at)
    if(at GREATER -1)
      set(${variable} ON PARENT_SCOPE)
    endif()
  endif()
endfunction()

# A server of this machine's own makes what goes over the wire the work of two hosts. It must not look for libcrypto's
# modules where the tests of the other host find theirs.
tavlib_program(BUILT_TAVSIM tavsim)
set(TAVSIM_PROGRAM ${BUILT_TAVSIM})
if(TAVLIB_TAVSIM)
  set(TAVSIM_PROGRAM ${CMAKE_BINARY_DIR}/scripts/native_tavsim)
  tavlib_script(${TAVSIM_PROGRAM} "env -u OPENSSL_MODULES -u QEMU_SET_ENV '${TAVLIB_TAVSIM}'")
endif()

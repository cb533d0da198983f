# A toolchain file for Debian's cross compilers.
#
#   cmake --toolchain cmake/cross.cmake -DTAVLIB_TARGET=s390x [-DTAVLIB_SYSROOT=folder] [-DTAVLIB_CLANG=ON]
#
# TAVLIB_TARGET is i386, aarch64, armhf, s390x or powerpc. TAVLIB_SYSROOT holds what the tools and the tests take besides
# the compiler's own libraries: libcrypto, CLI11 and nlohmann_json. With TAVLIB_CLANG, clang++ compiles with the cross
# compiler's libraries. scripts/matrix.sh makes the sysroot and hands all of this over. Debian has no libcrypto for powerpc:
# tools and tests are built there with TAVLIB_VECTORS alone (see tests/vectors).

list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TAVLIB_TARGET TAVLIB_SYSROOT TAVLIB_CLANG)

set(architecture ${TAVLIB_TARGET}-linux-gnu)
set(compiler ${architecture})
if(TAVLIB_TARGET STREQUAL i386)
  set(compiler i686-linux-gnu)
elseif(TAVLIB_TARGET STREQUAL aarch64)
  set(emulator qemu-aarch64)
elseif(TAVLIB_TARGET STREQUAL armhf)
  set(architecture arm-linux-gnueabihf)
  set(compiler ${architecture})
  set(emulator qemu-arm)
elseif(TAVLIB_TARGET STREQUAL s390x)
  set(emulator qemu-s390x)
elseif(TAVLIB_TARGET STREQUAL powerpc)
  set(emulator qemu-ppc)
else()
  message(FATAL_ERROR "TAVLIB_TARGET: not a host that this is made for: '${TAVLIB_TARGET}'")
endif()

set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR ${TAVLIB_TARGET})
if(TAVLIB_CLANG)
  set(CMAKE_C_COMPILER clang)
  set(CMAKE_CXX_COMPILER clang++)
  set(CMAKE_C_COMPILER_TARGET ${compiler})
  set(CMAKE_CXX_COMPILER_TARGET ${compiler})
  if(TAVLIB_TARGET STREQUAL powerpc)
    # In position-independent code for this host, clang++ 14 loses the return address of a function that does nothing
    # but set another library's thread-local variables, as what std::call_once in the tests calls. The library has none.
    # Its calls of other libraries pass through memory that is both written and run unless it is told otherwise; g++
    # needs no telling. The emulator keeps translating such memory and grows, which the soak takes for a leak.
    set(CMAKE_C_FLAGS_INIT "-fno-pie -msecure-plt")
    set(CMAKE_CXX_FLAGS_INIT ${CMAKE_C_FLAGS_INIT})
    set(CMAKE_EXE_LINKER_FLAGS_INIT -no-pie)
  endif()
else()
  set(CMAKE_C_COMPILER ${compiler}-gcc)
  set(CMAKE_CXX_COMPILER ${compiler}-g++)
endif()

# The compiler's own libraries are found in a place where no other program looks for them.
set(libraries /usr/${compiler})
if(TAVLIB_TARGET STREQUAL i386)
  set(CMAKE_EXE_LINKER_FLAGS_INIT
    "-Wl,--dynamic-linker=${libraries}/lib/ld-linux.so.2 -Wl,--disable-new-dtags -Wl,-rpath,${libraries}/lib")
  set(CMAKE_SHARED_LINKER_FLAGS_INIT "-Wl,--disable-new-dtags -Wl,-rpath,${libraries}/lib")
else()
  set(CMAKE_CROSSCOMPILING_EMULATOR ${emulator} -L ${libraries})
endif()

set(CMAKE_FIND_ROOT_PATH ${TAVLIB_SYSROOT} ${libraries})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(CMAKE_LIBRARY_ARCHITECTURE ${architecture})

# What the calls that tests take over are called on the host that is built for.
#
#   tavlib_wrap(TARGET PRIVATE|INTERFACE CALL...)
#
# has the linker send each CALL to __wrap_CALL, which finds the call itself as __real_CALL.
#
# Where long has 32 bits, glibc's headers send calls with times and offsets of 64 bits to functions of other names, and
# the names of operator new and delete end in another letter. The tests' sources say __wrap_CALL, __real_CALL and
# TAVTEST_SYMBOL(CALL) all the same. narrow_clock is what a program that replaces clock_gettime needs there besides.

set(other_symbols "")
set(narrow_clock "")
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
  list(APPEND other_symbols
    _Znwm=_Znwj _Znam=_Znaj _ZnwmRKSt9nothrow_t=_ZnwjRKSt9nothrow_t _ZnamRKSt9nothrow_t=_ZnajRKSt9nothrow_t
    _ZdlPvm=_ZdlPvj)
  set(narrow_clock ${CMAKE_CURRENT_LIST_DIR}/support/interpose_narrow_clock.cpp)
  list(APPEND other_symbols
    clock_gettime=__clock_gettime64 creat=creat64 fcntl=__fcntl_time64 fopen=fopen64 fstat=__fstat64_time64
    ftruncate=ftruncate64 gettimeofday=__gettimeofday64 open=open64 pread=pread64 pwrite=pwrite64
    select=__select64 setsockopt=__setsockopt64 stat=__stat64_time64)
endif()
foreach(pair ${other_symbols})
  string(REPLACE "=" ";" pair ${pair})
  list(GET pair 0 call)
  list(GET pair 1 symbol)
  set(symbol_of_${call} ${symbol})
  add_compile_definitions(__wrap_${call}=__wrap_${symbol} __real_${call}=__real_${symbol})
endforeach()

function(tavlib_wrap target scope)
  foreach(call ${ARGN})
    set(symbol ${call})
    if(DEFINED symbol_of_${call})
      set(symbol ${symbol_of_${call}})
    endif()
    target_link_options(${target} ${scope} LINKER:--wrap=${symbol})
  endforeach()
endfunction()

#ifndef TAVLIB_PLATFORM_INTERLOCKED_H
#define TAVLIB_PLATFORM_INTERLOCKED_H

// Atomic arithmetic on 32-bit counters.
//
// - The counter is the low 32 bits of the `long` that is pointed to.
// - What is returned, and what is stored, is a 32-bit value, sign-extended. Arithmetic wraps.
//
// Threads: all functions share one process-wide mutex. They are atomic with respect to one another, on any
// variable and from any thread. A plain access to the same word is not ordered against them.

#include <tavlib/export.h>

TAVLIB_BEGIN_C

/// Adds 1 to `*target` and returns the new value.
TAVLIB_API long InterlockedIncrement(long* target);

/// Subtracts 1 from `*target` and returns the new value.
TAVLIB_API long InterlockedDecrement(long* target);

/// Stores `value` in `*target` and returns the old value.
TAVLIB_API long InterlockedExchange(long* target, long value);

/// Stores `exchange` in `*target` if that equals `comparand`, and returns the old value in either case.
TAVLIB_API long InterlockedCompareExchange(long* target, long exchange, long comparand);

/// Adds `increment` to `*target` and returns the old value.
TAVLIB_API long InterlockedExchangeAdd(long* target, long increment);

TAVLIB_END_C

#endif

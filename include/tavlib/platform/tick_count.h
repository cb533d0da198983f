#ifndef TAVLIB_PLATFORM_TICK_COUNT_H
#define TAVLIB_PLATFORM_TICK_COUNT_H

#include <tavlib/export.h>

TAVLIB_BEGIN_C

/// Milliseconds of wall-clock time since the Unix epoch, modulo 2^32, on every host.
///
/// It wraps about every 49.7 days and jumps when the system time is set. Only differences, taken in 32-bit
/// arithmetic, are meaningful.
///
/// Threads: any.
TAVLIB_API unsigned long GetTickCount(void);

TAVLIB_END_C

#endif

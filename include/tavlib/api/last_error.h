#ifndef TAVLIB_API_LAST_ERROR_H
#define TAVLIB_API_LAST_ERROR_H

#include <tavlib/error_numbers.h>
#include <tavlib/export.h>

TAVLIB_BEGIN_C

/// The calling thread's last error: the code (tavlib/error_numbers.h) that its most recent failing call left.
///
/// Read it only after a call returned 0. It also works before TAVInitialize and after TAVExit; all threads
/// then share one value.
TAVLIB_API unsigned TAVGetLastError(void);

/// Sets the calling thread's last error.
TAVLIB_API void TAVSetLastError(unsigned code);

TAVLIB_END_C

#endif

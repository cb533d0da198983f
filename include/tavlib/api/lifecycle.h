#ifndef TAVLIB_API_LIFECYCLE_H
#define TAVLIB_API_LIFECYCLE_H

#include <tavlib/export.h>

TAVLIB_BEGIN_C

/// Makes the library ready: reads the configuration and opens a socket for each server. Calls are counted; a
/// further one only marks every server as reachable again and returns 1. 1, or 0 with last error 3 (no usable
/// server configured) or 9 (no memory). In C++ an ATlsException leaves it when the platform has no
/// thread-local slot left; after that, and after a 9 for the same reason, the count stays raised. One thread
/// at a time, with TAVExit.
TAVLIB_API int TAVInitialize(void);

/// Undoes one TAVInitialize; the last one closes everything. The calling thread's last error stays readable.
/// Call it once for each TAVInitialize that returned 1: nothing guards against more.
TAVLIB_API void TAVExit(void);

/// Keeps the calling thread's last error as the one that threads without a record of their own read. It frees
/// nothing and the thread may go on; a thread's record is freed when the thread ends.
TAVLIB_API void TAVThreadExit(void);

/// Does nothing: time-outs are fixed. `seconds` is ignored. Always 1.
TAVLIB_API int TAVSetTimeout(unsigned seconds);

TAVLIB_END_C

#endif

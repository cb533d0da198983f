#ifndef TAVLIB_API_LIFECYCLE_H
#define TAVLIB_API_LIFECYCLE_H

// Threads: one thread at a time calls TAVInitialize and TAVExit. A cancellation of that thread (pthread_cancel)
// is put off until the call has returned.

#include <tavlib/export.h>

TAVLIB_BEGIN_C

/// Initialises the library: reads the configuration and opens a socket for each server.
///
/// Calls are counted. A further call only marks every server as reachable again and returns 1.
///
/// Returns
///   1                  initialised
///   0, TAV_E_CONFIG    no usable server is configured
///   0, TAV_E_NOMEMORY  memory ran out
///
/// In C++ it throws ATlsException when the platform has no thread-local slot left. After that exception, and
/// after a TAV_E_NOMEMORY for lack of memory for the slot, the call stays counted.
TAVLIB_API int TAVInitialize(void);

/// Undoes one TAVInitialize; the last one closes everything. The calling thread's last error stays readable.
///
/// Call it once for each TAVInitialize that returned 1: nothing guards against more calls.
TAVLIB_API void TAVExit(void);

/// Copies the calling thread's last error to the value that threads without a record of their own share.
///
/// It frees nothing, and the thread may go on: a thread's record is freed when the thread ends.
TAVLIB_API void TAVThreadExit(void);

/// Does nothing: time-outs are fixed. `seconds` is ignored. Always 1.
TAVLIB_API int TAVSetTimeout(unsigned seconds);

TAVLIB_END_C

#endif

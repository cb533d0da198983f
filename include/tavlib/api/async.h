#ifndef TAVLIB_API_ASYNC_H
#define TAVLIB_API_ASYNC_H

// Handles of asynchronous requests, and the functions that complete or abandon them.
//
// One server's traffic belongs to one thread at a time.

#include <tavlib/error_numbers.h>
#include <tavlib/export.h>

#ifdef __cplusplus
#include <tavlib/protocol/server_interface.h>
#endif

/// The caller's handle of one outstanding request.
///
/// The caller owns the record and must not move it while a request is attached. Functions with "As" in their
/// names attach a request. Once its result has been returned, or it has been abandoned, the request is
/// released and `Request` is null again.
///
/// A function with "As" forgets the request that is attached already: its result is never returned, and the
/// record must then last until the last TAVExit. Call TAVASyncAbandon first.
struct TAVASYNC {
  void* Context;  ///< The caller's own; never read or written by the library.
#ifdef __cplusplus
  ServerInterface::ASyncRequest* Request;  ///< Owned by the library; null when none is attached.
#else
  void* Request;
#endif
};
typedef struct TAVASYNC TAVASYNC;

TAVLIB_BEGIN_C

/// The socket of the server to which the handle's request was sent, for a host's event loop. -1 when no
/// request is attached, or when the library was exited since the request was sent.
TAVLIB_API int TAVASyncSocket(TAVASYNC* async);

/// Completes one request of the server. Call it when the server's socket is readable; it never waits.
///
/// A request that completed while another caller waited on the same socket is returned first; only when
/// there is none is a datagram read. Look-ups of the single-sign-on layer are never returned.
///
/// Returns
///   1                        the request was answered: `*async` is its handle, now empty
///   0, TAV_E_PENDING         nothing has completed yet; after an interim reply `*async` is the handle of the
///                            request, which stays attached, and otherwise `*async` is not written
///   0, TAV_E_NOTINITIALISED  `*async` is not written
///   0, TAV_E_UNKNOWNSERVER   no configured server has this address; `*async` is not written
///   0, any other last error  the request failed with it: `*async` is its handle, now empty
TAVLIB_API int TAVASyncPop(TAVASYNC** async, unsigned long server);

/// Returns the state of the handle's request. With `wait` not 0, waits until the request completes.
///
/// Returns
///   1                        the request was answered; the handle is empty
///   0, TAV_E_PENDING         not answered yet (only with `wait` 0); the handle stays as it is
///   0, TAV_E_ABANDONED       waited 300 seconds without an answer, or the wait failed: the request was
///                            abandoned, and the handle is empty
///   0, TAV_E_NOTINITIALISED  the library is not initialised, or was exited since the request was sent; the
///                            handle is empty
///   0, TAV_E_CANCELLED       no request is attached
///   0, any other last error  the request failed with it; the handle is empty
///
/// The 300 seconds start again with every datagram on the socket. They also start again when a signal
/// interrupts the wait, and when they pass while `errno` is EINTR.
///
/// While it waits, it also reads the answers to other requests from the same socket. Their results are
/// returned to their owners as usual.
TAVLIB_API int TAVASyncStatus(TAVASYNC* async, int wait);

/// Abandons the handle's request, whether it is outstanding or has completed without its result having been
/// returned. Never waits. `async` may be null.
///
/// Afterwards the handle is empty, a late answer is dropped, and an enumeration whose step this was may start
/// another.
///
/// Returns
///   1                        abandoned, or no request was attached
///   0, TAV_E_NOTINITIALISED  the library was exited since the request was sent; the handle is emptied all
///                            the same
///
/// An addition of this library to the interface. Nothing changes for hosts that do not call it.
TAVLIB_API int TAVASyncAbandon(TAVASYNC* async);

TAVLIB_END_C

#endif

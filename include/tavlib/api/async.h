#ifndef TAVLIB_API_ASYNC_H
#define TAVLIB_API_ASYNC_H

#include <tavlib/error_numbers.h>
#include <tavlib/export.h>

#ifdef __cplusplus
#include <tavlib/protocol/server_interface.h>
#endif

/// One outstanding request, as its caller sees it. The caller owns the record and keeps it where it is while
/// a request is attached. Functions whose names hold "As" attach a request; it is released, and `Request`
/// null again, once its outcome was told.
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

/// The socket of the server to which the handle's request was sent, for a host's event loop; -1 when none is
/// attached or the library was exited since.
TAVLIB_API int TAVASyncSocket(TAVASYNC* async);

/// Completes one request of the server, for hosts that call when its socket is readable; it never waits. 1
/// when a request was answered, 0 otherwise with last error 7, 11 (unknown server), 14 (nothing complete yet)
/// or the request's own failure. `*async` receives the handle of the request concerned, which is then empty
/// unless the error is 14; it is not written when there is none. A request that was settled while somebody
/// else waited on the same socket is handed out before the socket is read. Look-ups of the single-sign-on
/// layer are never handed out.
TAVLIB_API int TAVASyncPop(TAVASYNC** async, unsigned long server);

/// Asks for the state of the handle's request, or waits for its answer when `wait` is not 0. 1 when it was
/// answered; 0 otherwise with last error 14 (not yet; the handle stays as it is), 4 (waited 300 seconds
/// without an answer, or the wait failed), 7 (the library was exited since, or is not initialised), 17
/// (nothing is attached) or the request's own failure. While waiting it takes other requests' answers from
/// the same socket; their owners are told as usual. A wait that is interrupted, or that ends without an
/// answer while `errno` is 4 (EINTR), starts over.
TAVLIB_API int TAVASyncStatus(TAVASYNC* async, int wait);

/// Gives the handle's request up, whether it is outstanding or answered and not told yet: the handle is empty
/// afterwards, a late answer is dropped, and an enumeration whose step it was may start another. 1, also when
/// nothing is attached; 0 with last error 7 when the library was exited since (the handle is emptied all the
/// same). `async` may be null. It never waits. An addition of this library to the interface: nothing else
/// changes when it is not called.
TAVLIB_API int TAVASyncAbandon(TAVASYNC* async);

TAVLIB_END_C

#endif

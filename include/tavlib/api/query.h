#ifndef TAVLIB_API_QUERY_H
#define TAVLIB_API_QUERY_H

// Questions to TAV servers. Server addresses are IPv4 in network byte order, as inet_addr yields them.
//
// Results are 1, or 0 with the reason in the calling thread's last error, unless told otherwise; every
// function but TAVQueryClose fails with 7 while the library is not initialised. A function with "As" in its
// name sends its request and returns 0 with last error 14; its answer is collected with TAVASyncPop or
// TAVASyncStatus, and its output and handle must last until then. The function without "As" waits. One
// server's traffic belongs to one thread at a time. std::bad_alloc may leave a function that attaches a
// request.

#include <tavlib/api/async.h>
#include <tavlib/export.h>
#include <tavlib/protocol/entry.h>

#ifdef __cplusplus
class TAVQueryEnum;
#else
typedef struct TAVQueryEnum TAVQueryEnum;
#endif

TAVLIB_BEGIN_C

/// The server's protocol version.
TAVLIB_API int TAVQueryVersion(unsigned long server, unsigned* version);
TAVLIB_API int TAVQueryVersionAs(unsigned long server, unsigned* version, TAVASYNC* async);

/// The address of the `index`-th configured server, in ascending order; last error TAV_E_NOMORE past the end.
/// A server configured at 0.0.0.0 is the first one and ends the list.
TAVLIB_API int TAVEnumServers(unsigned index, unsigned long* server);

/// The server's UDP socket, which belongs to the library: watch it, but neither read nor close it. -1, with
/// no last error set, when no server has that address; 0 with last error 7 when the library is not
/// initialised.
TAVLIB_API int TAVGetSocket(unsigned long server);

/// Begins an enumeration of the entries that match `filter`, which is copied. `a1`, `a2` and `a3` travel
/// unchanged in every request; bits 0x001 to 0x400 of `a1` select fields as in TAVEntryCompareW. `*query`
/// receives the enumeration; the caller ends it with TAVQueryClose. Last error 9 when it cannot be made, or
/// when the locale cannot convert a text of an 8-bit filter.
TAVLIB_API int TAVQueryStartW(const _TAVENTRYW* filter, unsigned a1, unsigned a2, unsigned long server,
                              unsigned a3, TAVQueryEnum** query);
TAVLIB_API int TAVQueryStartA(const _TAVENTRYA* filter, unsigned a1, unsigned a2, unsigned long server,
                              unsigned a3, TAVQueryEnum** query);

/// The next entry. Its texts and block belong to the enumeration and last until its next step completes or it
/// is closed; do not free them. Last error 6 at the end, 15 while an earlier step is outstanding, 7 when the
/// library was exited since the enumeration began, 17 when `query` is null.
TAVLIB_API int TAVQueryNextW(TAVQueryEnum* query, _TAVENTRYW* entry);
TAVLIB_API int TAVQueryNextAsW(TAVQueryEnum* query, _TAVENTRYW* entry, TAVASYNC* async);
TAVLIB_API int TAVQueryNextA(TAVQueryEnum* query, _TAVENTRYA* entry);
TAVLIB_API int TAVQueryNextAsA(TAVQueryEnum* query, _TAVENTRYA* entry, TAVASYNC* async);

/// Ends an enumeration; null is ignored. A step still in flight stays outstanding on its handle, and its
/// answer writes nowhere.
TAVLIB_API void TAVQueryClose(TAVQueryEnum* query);

/// Adds an entry on every server that is believed reachable, waiting for each; of the servers on this host
/// only the first is asked. 2 when all were up and took it; 1 when some did; 0 when none did. The last error
/// is why the last one failed, 0 if none did; a result of 0 leaves it as it was. A server that fails is
/// passed over from then on, until a further TAVInitialize. A signal that interrupts the wait for a server is
/// such a failure, and so may be setting the system's clock during that wait.
TAVLIB_API int TAVAddEntryA(const _TAVENTRYA* entry);
TAVLIB_API int TAVAddEntryW(const _TAVENTRYW* entry);

TAVLIB_END_C

#endif

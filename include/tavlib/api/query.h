#ifndef TAVLIB_API_QUERY_H
#define TAVLIB_API_QUERY_H

// Queries to TAV servers.
//
// - A function returns 1, or 0 with the reason in the calling thread's last error, unless it says otherwise.
// - Every function but TAVQueryClose fails with TAV_E_NOTINITIALISED while the library is not initialised.
// - A function with "As" in its name sends its request and returns 0 with TAV_E_PENDING. TAVASyncPop or
//   TAVASyncStatus returns its result; its output and its handle must last until then. After any other last
//   error no request is attached.
// - The function without "As" waits.
// - Server addresses are IPv4 in network byte order, as inet_addr returns them.
// - One server's traffic belongs to one thread at a time.
// - In C++, a function that attaches a request throws std::bad_alloc when memory runs out.

#include <tavlib/api/async.h>
#include <tavlib/export.h>
#include <tavlib/protocol/entry.h>

#ifdef __cplusplus
class TAVQueryEnum;
#else
typedef struct TAVQueryEnum TAVQueryEnum;
#endif

TAVLIB_BEGIN_C

/// Asks the server for its protocol version, which is stored in `*version`.
TAVLIB_API int TAVQueryVersion(unsigned long server, unsigned* version);
TAVLIB_API int TAVQueryVersionAs(unsigned long server, unsigned* version, TAVASYNC* async);

/// Stores the address of the `index`-th configured server, in ascending order, in `*server`. Past the end it
/// fails with TAV_E_NOMORE.
///
/// A server configured at 0.0.0.0 comes first and ends the list.
TAVLIB_API int TAVEnumServers(unsigned index, unsigned long* server);

/// The server's UDP socket. It belongs to the library: watch it, but neither read nor close it.
///
/// Returns
///   the socket
///   -1                       no server has that address, or it has no socket; no last error is set
///   0, TAV_E_NOTINITIALISED  the library is not initialised
TAVLIB_API int TAVGetSocket(unsigned long server);

/// Begins an enumeration of the entries that match `filter`, and stores it in `*query`. The caller ends it
/// with TAVQueryClose.
///
/// `filter` is copied. `a1`, `a2` and `a3` are sent unchanged in every request; bits 0x001 to 0x400 of `a1`
/// select fields as in TAVEntryCompareW.
///
/// Fails with TAV_E_NOMEMORY when memory runs out, or when the locale cannot convert a text of an 8-bit
/// filter. `*query` is then not written.
TAVLIB_API int TAVQueryStartW(const _TAVENTRYW* filter, unsigned a1, unsigned a2, unsigned long server,
                              unsigned a3, TAVQueryEnum** query);
TAVLIB_API int TAVQueryStartA(const _TAVENTRYA* filter, unsigned a1, unsigned a2, unsigned long server,
                              unsigned a3, TAVQueryEnum** query);

/// Stores the next entry in `*entry`. Its texts and block belong to the enumeration: do not free them. They
/// last until its next step completes or it is closed.
///
/// Last errors, among others
///   TAV_E_NOMORE          there is no further entry, or the reply's entry cannot be read
///   TAV_E_BUSY            an earlier step is outstanding
///   TAV_E_NOMEMORY        memory ran out, or the locale cannot convert a text of an 8-bit entry; `*entry`
///                         must then not be read
///   TAV_E_NOTINITIALISED  also when the library was exited since the enumeration began
///   TAV_E_CANCELLED       `query` is null
TAVLIB_API int TAVQueryNextW(TAVQueryEnum* query, _TAVENTRYW* entry);
TAVLIB_API int TAVQueryNextAsW(TAVQueryEnum* query, _TAVENTRYW* entry, TAVASYNC* async);
TAVLIB_API int TAVQueryNextA(TAVQueryEnum* query, _TAVENTRYA* entry);
TAVLIB_API int TAVQueryNextAsA(TAVQueryEnum* query, _TAVENTRYA* entry, TAVASYNC* async);

/// Ends an enumeration; null is ignored. A step in flight stays outstanding on its handle, and its answer is
/// written nowhere.
TAVLIB_API void TAVQueryClose(TAVQueryEnum* query);

/// Adds an entry on every server that is believed reachable, waiting for each. Of the servers on this host
/// only the first is used.
///
/// Returns
///   2  all servers were believed reachable, and all added the entry; the last error becomes 0
///   1  some added it; the last error is that of the last server that failed, 0 if none did
///   0  none added it; the last error stays as it was
///
/// A server that fails is skipped from then on, until a further TAVInitialize. A signal that interrupts the
/// wait for a server is such a failure, and setting the system's clock during that wait may cause one.
TAVLIB_API int TAVAddEntryA(const _TAVENTRYA* entry);
TAVLIB_API int TAVAddEntryW(const _TAVENTRYW* entry);

TAVLIB_END_C

#endif

#ifndef TAVLIB_PROCESS_STATE_H
#define TAVLIB_PROCESS_STATE_H

#include <tavlib/platform/thread_local_slot.h>
#include <tavlib/servers/server_list.h>

#include <cstdint>

/// One thread's state. It is freed when its thread ends or at the last TAVExit, whichever comes first.
struct TAVThreadRecord {
  std::uint32_t lastError{0};
};

/// The process-wide state, all zero when the library is loaded. Only the count is changed atomically, and
/// only the shared record is copied atomically.
extern long g_InitCount;                 ///< Outstanding TAVInitialize calls; its low 32 bits.
extern ATls* pTls;                       ///< Each thread's TAVThreadRecord; null while not initialised.
extern TAVServerList* g_ServerList;      ///< Null while not initialised.
extern std::uint32_t g_ServerListReady;  ///< 1 since the first successful initialisation; never reset.
extern TAVThreadRecord g_SharedRecord;   ///< Used when there is no thread-local record.

/// The calling thread's record, created on first use; never null.
TAVThreadRecord* GetTlsValues();

namespace tavlib {

/// Sets the last error and returns the failing result, 0. (The registry room has a `fail` of its own, which
/// sets `errno`: the two must not have one name.)
int refuse(unsigned code);

/// The server with that address; null, with the last error set, when there is none or the library is not
/// initialised.
TAVServerInterface* find_server(unsigned long address);

}  // namespace tavlib

#endif

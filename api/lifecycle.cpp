#include <tavlib/api/last_error.h>
#include <tavlib/api/lifecycle.h>
#include <tavlib/platform/interlocked.h>

#include <atomic>
#include <cstdint>
#include <new>

#include "api/process_state.h"
#include "api/sso_lookups.h"
#include "api/thread_records.h"
#include "platform/no_cancellation.h"

namespace {

// Throws ATlsException.
ATls* create_slot() {
  try {
    return new ATls(tavlib::free_thread_record);
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

TAVServerList* create_server_list() {
  try {
    return new TAVServerList();
  } catch (const std::bad_alloc&) {
    return nullptr;
  }
}

void destroy_server_list() {
  delete g_ServerList;
  g_ServerList = nullptr;
}

}  // namespace

// A cancelled thread would leave a count without a library, or one half taken down, so it is put off.
int TAVInitialize() {
  const tavlib::NoCancellation whole;
  if (static_cast<unsigned>(InterlockedIncrement(&g_InitCount)) > 1) {
    if (g_ServerList != nullptr && g_ServerListReady != 0) g_ServerList->SetAllCommsUp();
    return 1;
  }

  pTls = create_slot();
  // The call stays counted here: a later call succeeds, and every query then fails with TAV_E_NOTINITIALISED.
  if (pTls == nullptr) return tavlib::refuse(TAV_E_NOMEMORY);

  g_ServerList = create_server_list();
  if (g_ServerList == nullptr) {
    TAVSetLastError(TAV_E_NOMEMORY);
    TAVExit();
    return 0;
  }
  if (g_ServerList->IsValid() == 0) {  // its construction has set the reason
    destroy_server_list();
    TAVExit();
    return 0;
  }
  g_ServerListReady = 1;
  return 1;
}

void TAVExit() {
  const tavlib::NoCancellation whole;
  if (InterlockedDecrement(&g_InitCount) != 0) return;
  if (g_ServerList != nullptr) {
    tavlib::drop_lookups();
    destroy_server_list();
  }
  // While the slot still exists, so that the caller can read its last error afterwards.
  TAVThreadExit();
  if (pTls != nullptr) {
    delete pTls;
    pTls = nullptr;
    tavlib::free_thread_records();
  }
}

void TAVThreadExit() {
  const std::uint32_t lastError = GetTlsValues()->lastError;
  std::atomic_ref(g_SharedRecord.lastError).store(lastError);
}

int TAVSetTimeout(unsigned /*seconds*/) {
  return 1;
}

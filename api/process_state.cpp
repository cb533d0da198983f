#include "api/process_state.h"

#include <tavlib/api/last_error.h>

#include <atomic>

#include "api/thread_records.h"

long g_InitCount = 0;
ATls* pTls = nullptr;
TAVServerList* g_ServerList = nullptr;
std::uint32_t g_ServerListReady = 0;
TAVThreadRecord g_SharedRecord;

TAVThreadRecord* GetTlsValues() {
  if (pTls == nullptr) return &g_SharedRecord;
  if (void* value = pTls->GetValue()) return static_cast<TAVThreadRecord*>(value);

  // It starts with what was stored in the shared record when there was no memory for one: a call that could
  // not create the record may just have failed.
  const auto lastError = std::atomic_ref(g_SharedRecord.lastError).load();
  TAVThreadRecord* record = tavlib::new_thread_record(lastError);
  if (record == nullptr) return &g_SharedRecord;
  if (pTls->SetValue(record) == 0) {  // the thread would not find it again
    tavlib::free_thread_record(record);
    return &g_SharedRecord;
  }
  return record;
}

unsigned TAVGetLastError() {
  return GetTlsValues()->lastError;
}

void TAVSetLastError(unsigned code) {
  GetTlsValues()->lastError = code;
}

namespace tavlib {

int refuse(unsigned code) {
  TAVSetLastError(code);
  return 0;
}

TAVServerInterface* find_server(unsigned long address) {
  if (g_ServerList == nullptr) {
    TAVSetLastError(TAV_E_NOTINITIALISED);
    return nullptr;
  }
  TAVServerInterface* server = g_ServerList->FindByServer(address);
  if (server == nullptr) TAVSetLastError(TAV_E_UNKNOWNSERVER);
  return server;
}

}  // namespace tavlib

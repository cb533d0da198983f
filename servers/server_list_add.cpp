#include <tavlib/api/last_error.h>
#include <tavlib/servers/server_list.h>

namespace {

enum AddResult { kNobody = 0, kSome = 1, kEverybody = 2 };

}  // namespace

int TAVServerList::AddEntry(const _TAVENTRYA& entry, unsigned long address) {
  return addEntry(entry, address);
}

int TAVServerList::AddEntry(const _TAVENTRYW& entry, unsigned long address) {
  return addEntry(entry, address);
}

unsigned TAVServerList::AddEntryUsing(const _TAVENTRYA& entry, TAVServerInterface* server) {
  return server->AddEntry(entry);
}

unsigned TAVServerList::AddEntryUsing(const _TAVENTRYW& entry, TAVServerInterface* server) {
  return server->AddEntry(entry);
}

template <typename Record>
int TAVServerList::addEntry(const Record& entry, unsigned long address) {
  return address != 0 ? addToOne(entry, address) : addToAll(entry);
}

template <typename Record>
int TAVServerList::addToOne(const Record& entry, unsigned long address) {
  TAVServerInterface* server = FindByServer(address);
  if (server == nullptr) {
    TAVSetLastError(TAV_E_UNKNOWNSERVER);
    return kNobody;
  }
  if (AddEntryUsing(entry, server) != 0) return kNobody;
  TAVSetLastError(0);
  return kEverybody;
}

template <typename Record>
int TAVServerList::addToAll(const Record& entry) {
  int outcome = kEverybody;
  bool anySuccess = false;
  bool localDone = false;
  unsigned lastFailure = 0;
  for (const auto& [address, server] : servers) {
    if (server->IsCommUp() == 0) {
      outcome = kSome;
      continue;
    }
    if (server->IsLocal() != 0) {
      if (localDone) continue;
      localDone = true;  // before the attempt: when it fails, no other local server is tried
    }
    const unsigned status = AddEntryUsing(entry, server);
    if (status == 0) {
      anySuccess = true;
    } else {
      server->SetCommDown();
      lastFailure = status;
      outcome = kSome;
    }
  }
  if (!anySuccess) return kNobody;
  TAVSetLastError(lastFailure);
  return outcome;
}

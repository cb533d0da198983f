#include <tavlib/api/last_error.h>
#include <tavlib/servers/server_list.h>

#include <algorithm>
#include <iterator>

TAVServerList::~TAVServerList() {
  for (const auto& [address, server] : servers)
    delete server;
}

int TAVServerList::IsValid() {
  return static_cast<int>(valid);
}

unsigned long TAVServerList::GetServer(unsigned index) {
  if (index >= servers.size()) return 0;
  return std::next(servers.begin(), static_cast<std::ptrdiff_t>(index))->first;
}

int TAVServerList::GetSocket(unsigned long address) {
  TAVServerInterface* server = FindByServer(address);
  return server == nullptr ? -1 : server->GetSocket();
}

TAVServerInterface* TAVServerList::FindBySocket(int socket) {
  const auto found = std::find_if(servers.begin(), servers.end(),
                                  [socket](const auto& item) { return item.second->GetSocket() == socket; });
  return found == servers.end() ? nullptr : found->second;
}

TAVServerInterface* TAVServerList::FindByServer(unsigned long address) {
  const auto found = servers.find(address);
  return found == servers.end() ? nullptr : found->second;
}

unsigned TAVServerList::QueryVersion(unsigned long address, unsigned& version,
                                     ServerInterface::ASyncRequest* request) {
  TAVServerInterface* server = FindByServer(address);
  return server == nullptr ? unsigned{TAV_E_UNKNOWNSERVER} : server->QueryVersion(version, request);
}

const char* TAVServerList::GetSecret(unsigned long address) {
  TAVServerInterface* server = FindByServer(address);
  if (server != nullptr) return server->GetSecret();
  TAVSetLastError(TAV_E_UNKNOWNSERVER);
  return nullptr;
}

int TAVServerList::Listen(unsigned short port, unsigned long address) {
  TAVServerInterface* server = FindByServer(address);
  const unsigned status = server == nullptr ? unsigned{TAV_E_UNKNOWNSERVER} : server->Listen(port);
  if (status == 0) return 1;
  TAVSetLastError(status);
  return 0;
}

int TAVServerList::ListenStop(unsigned long address) {
  TAVServerInterface* server = FindByServer(address);
  const unsigned status = server == nullptr ? unsigned{TAV_E_UNKNOWNSERVER} : server->ListenStop();
  if (status == 0) return 1;
  TAVSetLastError(status);
  return 0;
}

void TAVServerList::SetAllCommsUp() {
  for (const auto& [address, server] : servers)
    server->SetCommUp();
}

unsigned TAVServerList::QueryEntry(unsigned a1, unsigned a2, _TAVENTRYW& entry, unsigned a3,
                                   unsigned long address, ServerInterface::ASyncRequest* request) {
  TAVServerInterface* server = FindByServer(address);
  return server == nullptr ? unsigned{TAV_E_UNKNOWNSERVER} : server->QueryEntry(a1, a2, a3, entry, request);
}

unsigned TAVServerList::GetSerial() const {
  return serial;
}

#include "api/sso_lookups.h"

#include <tavlib/api/last_error.h>
#include <tavlib/api/sso.h>

#include <cstdint>

#include "api/attached_request.h"
#include "api/process_state.h"

namespace tavlib {

namespace {

bool is_lookup(const ServerInterface::ASyncRequest* request) {
  return SSO_TAVContext::Of(request) != nullptr;
}

// The look-up that the next datagram concerns. Other requests that it settles are kept for their owners. Null
// when there is none.
ServerInterface::ASyncRequest* read_lookup(TAVServerInterface& server) {
  ServerInterface::ASyncRequest* request = server.CompleteRequest();
  if (request == nullptr || request->status == TAV_E_PENDING || is_lookup(request)) return request;
  if (request->handle != nullptr) server.KeepSettled(request);
  return nullptr;
}

// Ends a look-up: its request leaves every table before the host is called.
void finish(ServerInterface::ASyncRequest* request) {
  SSO_TAVContext* lookup = SSO_TAVContext::Of(request);
  const int result = conclude(*handle_of(request));
  if (lookup->Finish(result, TAVGetLastError()) != 0) delete lookup;
}

}  // namespace

bool is_layers_lookup(const ServerInterface::ASyncRequest* request) {
  const SSO_TAVContext* lookup = SSO_TAVContext::Of(request);
  return lookup != nullptr && lookup->BelongsToLayer();
}

// A callback may exit the library, so the server is looked for each time.
void finish_settled_lookups(unsigned long address) {
  const auto next = [address]() -> ServerInterface::ASyncRequest* {
    TAVServerInterface* server = g_ServerList == nullptr ? nullptr : g_ServerList->FindByServer(address);
    return server == nullptr ? nullptr : server->TakeSettled(is_lookup);
  };
  while (ServerInterface::ASyncRequest* request = next())
    finish(request);
}

void drop_lookups() {
  if (g_ServerList == nullptr) return;  // a host that exited too often: nothing is in flight any more
  while (const ServerInterface::ASyncRequest* request = g_ServerList->FindRequest(is_layers_lookup)) {
    delete SSO_TAVContext::Of(request);
  }
}

int SSO_SocketReady(int first, void* argument) {
  const auto address = static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(argument));
  finish_settled_lookups(address);
  TAVServerInterface* server = find_server(address);
  if (server == nullptr) return first;
  ServerInterface::ASyncRequest* request = read_lookup(*server);
  if (request == nullptr || request->status == TAV_E_PENDING) {
    TAVSetLastError(TAV_E_PENDING);
  } else {
    finish(request);
  }
  return first;
}

}  // namespace tavlib

#include "api/sso_lookups.h"

#include <tavlib/api/last_error.h>
#include <tavlib/api/sso.h>

#include <cstdint>
#include <memory>

#include "api/attached_request.h"
#include "api/process_state.h"
#include "api/sso_state.h"

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
  const std::unique_ptr<SSO_TAVContext> lookup(SSO_TAVContext::Of(request));
  const int result = conclude(*handle_of(request));
  lookup->Finish(result, TAVGetLastError());
}

void expire(ServerInterface::ASyncRequest* request) {
  const std::unique_ptr<SSO_TAVContext> lookup(SSO_TAVContext::Of(request));
  release_request(*handle_of(request));
  lookup->Finish(refuse(TAV_E_ABANDONED), TAV_E_ABANDONED);
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

// A callback may exit the library, so the list is looked for each time. It may also read the answer to a
// look-up that is due, which is then no longer one to be given up.
unsigned expire_lookups(std::chrono::steady_clock::time_point started_before) {
  const auto next = [started_before]() -> ServerInterface::ASyncRequest* {
    finish_settled_lookups(g_SsoServer);
    if (g_ServerList == nullptr) return nullptr;
    return g_ServerList->FindRequest([started_before](const ServerInterface::ASyncRequest* request) {
      const SSO_TAVContext* lookup = SSO_TAVContext::Of(request);
      return lookup != nullptr && lookup->IsOlderThan(started_before);
    });
  };
  unsigned count = 0;
  while (ServerInterface::ASyncRequest* request = next()) {
    if (request->status == TAV_E_PENDING) {
      expire(request);
      ++count;
    } else {
      finish(request);  // on the server of a gateway before
    }
  }
  return count;
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

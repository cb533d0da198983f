#include <tavlib/api/async.h>
#include <tavlib/api/last_error.h>
#include <tavlib/platform/error_state.h>

#include <cerrno>

#include "api/attached_request.h"
#include "api/process_state.h"
#include "platform/wait_readable.h"
#include "protocol/shared_socket.h"

namespace {

constexpr timeval kWait{300, 0};
constexpr timeval kPoll{0, 0};

bool is_hosts_own(const ServerInterface::ASyncRequest* request) {
  const tavlib::LookupInFlight* lookup = tavlib::lookup_of(request);
  return tavlib::handle_of(request) != nullptr && (lookup == nullptr || !lookup->of_layer);
}

// The next completed request of a host. A look-up of the single-sign-on layer that the datagram completes is
// kept for the layer's own callback.
ServerInterface::ASyncRequest* next_completed(TAVServerInterface& server) {
  if (ServerInterface::ASyncRequest* kept = server.TakeSettled(is_hosts_own)) return kept;
  return tavlib::complete_if(server, is_hosts_own);
}

// A handle whose result was returned or whose request was abandoned, or that never had one.
int refuse_empty() {
  return tavlib::refuse(g_ServerList == nullptr ? TAV_E_NOTINITIALISED : TAV_E_CANCELLED);
}

int give_up(TAVASYNC& async, ServerInterface& owner) {
  owner.AbandonRequest(async.Request);
  tavlib::release_request(async);
  return tavlib::refuse(TAV_E_ABANDONED);
}

// The request was sent by a library that was exited since: no answer can come any more.
int orphaned(TAVASYNC& async) {
  tavlib::release_request(async);
  return tavlib::refuse(TAV_E_NOTINITIALISED);
}

}  // namespace

int TAVASyncSocket(TAVASYNC* async) {
  if (async->Request == nullptr) return -1;
  ServerInterface* owner = tavlib::living_owner(*async->Request);
  return owner == nullptr ? -1 : owner->GetSocket();
}

int TAVASyncPop(TAVASYNC** async, unsigned long server) {
  TAVServerInterface* interface = tavlib::find_server(server);
  if (interface == nullptr) return 0;
  ServerInterface::ASyncRequest* request = next_completed(*interface);
  if (request == nullptr) return tavlib::refuse(TAV_E_PENDING);
  *async = tavlib::handle_of(request);
  return request->status == TAV_E_PENDING ? tavlib::refuse(TAV_E_PENDING) : tavlib::conclude(**async);
}

int TAVASyncStatus(TAVASYNC* async, int wait) {
  if (async->Request == nullptr) return refuse_empty();
  for (;;) {
    if (async->Request->status != TAV_E_PENDING) return tavlib::conclude(*async);
    ServerInterface* owner = tavlib::living_owner(*async->Request);
    if (owner == nullptr) return orphaned(*async);

    if (tavlib::wait_readable(owner->GetSocket(), wait != 0 ? kWait : kPoll) > 0) {
      owner->CompleteFor(async->Request);
      if (async->Request->status != TAV_E_PENDING) return tavlib::conclude(*async);
    } else if (wait != 0 && AErrors::GetRtlError() != EINTR) {
      return give_up(*async, *owner);
    }
    if (wait == 0) return tavlib::refuse(TAV_E_PENDING);
  }
}

int TAVASyncAbandon(TAVASYNC* async) {
  if (async == nullptr || async->Request == nullptr) return 1;
  if (tavlib::living_owner(*async->Request) == nullptr) return orphaned(*async);
  tavlib::release_request(*async);
  return 1;
}

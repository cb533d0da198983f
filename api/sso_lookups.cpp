#include "api/sso_lookups.h"

#include <tavlib/api/last_error.h>

#include <cstdint>

#include "api/attached_request.h"
#include "api/process_state.h"
#include "api/sso_state.h"
#include "protocol/shared_socket.h"

namespace tavlib {

namespace {

using Request = ServerInterface::ASyncRequest;
using TimePoint = std::chrono::steady_clock::time_point;

bool is_lookup(const Request* request) {
  return lookup_of(request) != nullptr;
}

bool finishing = false;

// One of the calls in which hosts' callbacks are called. Only the outermost one goes on to further look-ups.
class Finishing {
 public:
  Finishing() { finishing = true; }
  ~Finishing() { finishing = !outermost_; }

  Finishing(const Finishing&) = delete;
  Finishing& operator=(const Finishing&) = delete;

  bool outermost() const { return outermost_; }

 private:
  bool outermost_{!finishing};
};

// Ends a look-up. Its request is removed from every table before the host is called.
void finish(const LookupInFlight& ended) {
  const std::unique_ptr<SSO_TAVContext> lookup(ended.context());
  TAVASYNC& async = *handle_of(&ended.request());
  if (ended.given_up()) ended.request().status = TAV_E_ABANDONED;
  const int result = conclude(async);
  lookup->Finish(result, TAVGetLastError());
}

// Whether the library still has the look-up. One of a library that was exited since is its host's to delete.
bool is_ours(const LookupInFlight& lookup) {
  return living_owner(lookup.request()) != nullptr && handle_of(&lookup.request()) != nullptr;
}

// Asked after each answer, when there may be thousands in flight of which none is given up.
const LookupInFlight* oldest_given_up() {
  if (!LookupInFlight::any_given_up()) return nullptr;
  const LookupInFlight* lookup = LookupInFlight::oldest();
  while (lookup != nullptr && !(lookup->given_up() && is_ours(*lookup)))
    lookup = lookup->next();
  return lookup;
}

// A look-up that has ended and whose callback is still to be called. A callback may exit the library, so the
// server is looked up each time.
const LookupInFlight* next_ended(unsigned long address) {
  TAVServerInterface* server = g_ServerList == nullptr ? nullptr : g_ServerList->FindByServer(address);
  const Request* settled = server == nullptr ? nullptr : server->TakeSettled(is_lookup);
  return settled == nullptr ? oldest_given_up() : lookup_of(settled);
}

// A callback may take the layer to another gateway, whose look-ups then end here, too.
void finish_ended(unsigned long address) {
  const LookupInFlight* ended = nullptr;
  while ((ended = next_ended(address)) != nullptr || (ended = next_ended(g_SsoServer)) != nullptr)
    finish(*ended);
}

// The oldest look-up that is due to end.
LookupInFlight* oldest_due(TimePoint started_before) {
  LookupInFlight* lookup = LookupInFlight::oldest();
  while (lookup != nullptr && !(is_ours(*lookup) && !lookup->given_up()))
    lookup = lookup->next();
  return lookup != nullptr && lookup->started() < started_before ? lookup : nullptr;
}

bool is_pending(const Request& request) {
  return request.status == TAV_E_PENDING;
}

void give_up(LookupInFlight& due) {
  living_owner(due.request())->Forget(&due.request());
  due.give_up();
}

unsigned give_up_all(TimePoint started_before) {
  unsigned count = 0;
  LookupInFlight* lookup = LookupInFlight::oldest();
  for (; lookup != nullptr && lookup->started() < started_before; lookup = lookup->next()) {
    if (lookup->given_up() || !is_ours(*lookup) || !is_pending(lookup->request())) continue;
    give_up(*lookup);
    ++count;
  }
  return count;
}

// One at a time: a callback may read the answer to a look-up that is due, which is then no longer to be
// abandoned.
unsigned give_up_and_finish(TimePoint started_before) {
  unsigned count = 0;
  for (;;) {
    finish_ended(g_SsoServer);
    LookupInFlight* due = oldest_due(started_before);
    if (due == nullptr) return count;
    if (is_pending(due->request())) {  // else it was answered, on a server that was the gateway's earlier
      give_up(*due);
      ++count;
    }
    finish(*due);
  }
}

}  // namespace

void give_to_layer(std::unique_ptr<SSO_TAVContext> sent) {
  LookupInFlight* youngest = LookupInFlight::youngest();
  if (youngest != nullptr && youngest->context() == sent.get()) youngest->of_layer = true;
  static_cast<void>(sent.release());
}

void finish_settled_lookups(unsigned long address) {
  const Finishing call;
  if (call.outermost()) finish_ended(address);
}

unsigned expire_lookups(TimePoint started_before) {
  const Finishing call;
  return call.outermost() ? give_up_and_finish(started_before) : give_up_all(started_before);
}

void drop_lookups() {
  LookupInFlight* lookup = LookupInFlight::oldest();
  while (lookup != nullptr) {
    LookupInFlight* next = lookup->next();
    if (lookup->of_layer) delete lookup->context();
    lookup = next;
  }
}

int SSO_SocketReady(int first, void* argument) {
  const auto address = static_cast<unsigned long>(reinterpret_cast<std::uintptr_t>(argument));
  const Finishing call;
  if (call.outermost()) finish_ended(address);
  TAVServerInterface* server = find_server(address);
  if (server == nullptr) return first;
  const Request* request = complete_if(*server, is_lookup);
  if (request == nullptr || request->status == TAV_E_PENDING) {
    TAVSetLastError(TAV_E_PENDING);
    return first;
  }
  finish(*lookup_of(request));
  if (call.outermost()) finish_ended(address);
  return first;
}

}  // namespace tavlib

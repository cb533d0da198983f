// The transports that exist. A request holds a pointer to the transport that sent it last, which may be gone
// when the request is started again: a transport that is destroyed does not touch its requests, whose memory
// may already have been freed.

#include <tavlib/protocol/server_interface.h>

#include <mutex>

namespace {

// Held for a few instructions, and never while a host's code runs.
constinit std::mutex list_mutex;
constinit ServerInterface* first = nullptr;

}  // namespace

void ServerInterface::enterLive() {
  const std::lock_guard lock(list_mutex);
  nextLive = first;
  first = this;
}

void ServerInterface::leaveLive() {
  const std::lock_guard lock(list_mutex);
  ServerInterface** link = &first;
  while (*link != this)
    link = &(*link)->nextLive;
  *link = nextLive;
}

bool ServerInterface::isLive(const ServerInterface* transport) {
  const std::lock_guard lock(list_mutex);
  const ServerInterface* listed = first;
  while (listed != nullptr && listed != transport)
    listed = listed->nextLive;
  return listed != nullptr;
}

void ServerInterface::EndExchange(ASyncRequest* request) {
  if (request->owner != nullptr && isLive(request->owner)) request->owner->Forget(request);
}

#include <tavlib/platform/tick_count.h>
#include <tavlib/protocol/server_interface.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "platform/wait_readable.h"
#include "protocol/packet_view.h"

namespace {

constexpr unsigned kFirstWaitMilliseconds = 15000;
// After this many milliseconds no further wait begins, whatever the caller's time-out.
constexpr std::uint32_t kPatienceMilliseconds = 14999;

timeval to_timeval(unsigned milliseconds) {
  timeval time{};
  time.tv_sec = static_cast<time_t>(milliseconds / 1000);
  time.tv_usec = static_cast<suseconds_t>(milliseconds % 1000 * 1000);
  return time;
}

// Removes a request from its transport on every way out: a late reply then finds no request.
class RegisteredRequest {
 public:
  RegisteredRequest(ServerInterface& owner, ServerInterface::ASyncRequest& sent)
      : server_(owner), request_(sent) {}
  ~RegisteredRequest() { server_.Forget(&request_); }

  RegisteredRequest(const RegisteredRequest&) = delete;
  RegisteredRequest& operator=(const RegisteredRequest&) = delete;

 private:
  ServerInterface& server_;
  ServerInterface::ASyncRequest& request_;
};

void copy_packet(_TAVPACKET* target, const _TAVPACKET& source, unsigned room) {
  std::memcpy(target, &source, std::min(tavlib::length_of(source), room));
}

}  // namespace

unsigned ServerInterface::TransactServer(_TAVPACKET* packet, unsigned size, unsigned timeout) {
  if (size > tavlib::kPacketSize) return TAV_E_TOOBIG;
  ASyncRequest request;
  std::memcpy(&request.packet, packet, size);

  const unsigned sent = StartRequest(&request);
  if (sent != TAV_E_PENDING) return sent;
  const RegisteredRequest registered(*this, request);

  bool wantsCopy = false;
  const unsigned status = awaitReply(request, timeout, wantsCopy);
  if (wantsCopy) copy_packet(packet, request.packet, size);
  return status;
}

// Waits until the request has completed. `wantsCopy` becomes true when the caller's packet is to be
// overwritten: after an answer and after a wait without one, but not when time ran out between two waits.
unsigned ServerInterface::awaitReply(const ASyncRequest& request, unsigned timeout, bool& wantsCopy) {
  const auto start = static_cast<std::uint32_t>(GetTickCount());
  unsigned wait = kFirstWaitMilliseconds;
  for (;;) {
    wantsCopy = true;
    if (tavlib::wait_readable(socket, to_timeval(wait)) <= 0) return TAV_E_ABANDONED;
    CompleteFor(&request);
    if (request.status != TAV_E_PENDING) return request.status;

    wantsCopy = false;
    const std::uint32_t elapsed = static_cast<std::uint32_t>(GetTickCount()) - start;
    if (elapsed > kPatienceMilliseconds) return TAV_E_ABANDONED;
    wait = timeout;
  }
}

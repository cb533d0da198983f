#include "tavsim/handler.h"

#include <utility>

namespace tavsim {
namespace {

std::vector<Outgoing> address_to(const sockaddr_in& to, Clock::time_point now, std::uint64_t request,
                                 std::vector<Delivery> deliveries) {
  std::vector<Outgoing> addressed;
  addressed.reserve(deliveries.size());
  for (Delivery& delivery : deliveries) {
    addressed.push_back({now + delivery.after, to, request, std::move(delivery.datagram)});
  }
  return addressed;
}

}  // namespace

void Handler::handle(ByteView datagram, const sockaddr_in& from, Clock::time_point now, Outbox& outbox) {
  trace_.raw(from, datagram);
  const Opened opened = open_datagram(datagram, crypto_);
  if (opened.refusal.empty()) {
    serve(decode_request(opened.packet), from, now, outbox);
  } else if (trace_.is_on()) {
    trace_.line("dropped from " + describe(from) + ": " + std::to_string(datagram.size()) +
                " bytes: " + opened.refusal);
  }
}

void Handler::serve(const Request& request, const sockaddr_in& from, Clock::time_point now, Outbox& outbox) {
  ++requests_;
  const FaultSet faults = faults_.next();
  const Answer reply = answer(request, faults);
  trace_request(request, from, faults, reply.summary);
  Deliveries deliveries = inject(request, reply.packet, faults, settings_, crypto_, noise_);
  for (Outgoing& ahead : address_to(from, now, requests_, std::move(deliveries.ahead))) {
    outbox.put(std::move(ahead));
  }
  std::vector<Outgoing> final = address_to(from, now, requests_, std::move(deliveries.final));
  if (faults.has(Fault::reorder) && !outbox.is_holding()) {
    outbox.hold(std::move(final));
  } else {
    outbox.put_reply(std::move(final));
  }
}

Answer Handler::answer(const Request& request, const FaultSet& faults) {
  if (!is_refused(faults, settings_)) return responder_.answer(request);
  return {status_reply(request, reply_final | reply_error), "refused"};
}

void Handler::trace_request(const Request& request, const sockaddr_in& from, const FaultSet& faults,
                            const std::string& summary) const {
  if (!trace_.is_on()) return;
  const std::string names = faults.names();
  trace_.line("request " + std::to_string(requests_) + " from " + describe(from) + ": " + describe(request) +
              " -> " + summary + (names.empty() ? "" : " [faults: " + names + "]"));
}

}  // namespace tavsim

#ifndef TAVSIM_HANDLER_H
#define TAVSIM_HANDLER_H

#include <cstdint>

#include "tavsim/crypto.h"
#include "tavsim/fault_injector.h"
#include "tavsim/outbox.h"
#include "tavsim/responder.h"
#include "tavsim/trace.h"

namespace tavsim {

/// The way from a received datagram to the datagrams that answer it. Knows neither sockets nor the time of
/// day.
class Handler {
 public:
  Handler(Crypto crypto, Responder responder, FaultSource faults, FaultSettings settings, const Trace& trace)
      : crypto_(std::move(crypto)),
        responder_(std::move(responder)),
        faults_(std::move(faults)),
        settings_(settings),
        trace_(trace),
        noise_(settings.seed) {}

  /// Takes any datagram. One that is no verified request is dropped; the answers to others go into `outbox`.
  void handle(ByteView datagram, const sockaddr_in& from, Clock::time_point now, Outbox& outbox);

  /// Verified requests so far.
  std::uint64_t requests() const { return requests_; }

 private:
  void serve(const Request& request, const sockaddr_in& from, Clock::time_point now, Outbox& outbox);
  Answer answer(const Request& request, const FaultSet& faults);
  void trace_request(const Request& request, const sockaddr_in& from, const FaultSet& faults,
                     const std::string& summary) const;

  Crypto crypto_;
  Responder responder_;
  FaultSource faults_;
  FaultSettings settings_;
  const Trace& trace_;
  Noise noise_;
  std::uint64_t requests_ = 0;
};

}  // namespace tavsim

#endif

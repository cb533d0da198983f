#ifndef TAVSIM_SERVER_H
#define TAVSIM_SERVER_H

#include <cstdint>

#include "tavsim/handler.h"
#include "tavsim/outbox.h"
#include "tavsim/posix.h"
#include "tavsim/trace.h"

namespace tavsim {

/// The loop: waits for a datagram, a time or a stop signal, one thread, nothing ever blocking but the wait
/// itself.
class Server {
 public:
  /// Takes the socket and the stop signals. `count` is the number of requests to serve, 0 for no limit.
  /// Throws std::system_error.
  Server(const sockaddr_in& address, Handler handler, std::uint64_t count, const Trace& trace)
      : socket_(address), handler_(std::move(handler)), count_(count), trace_(trace) {}

  sockaddr_in address() const { return socket_.address(); }

  /// Serves until a stop signal, or until `count` requests are served and their replies sent.
  void run();

 private:
  bool is_receiving() const { return count_ == 0 || handler_.requests() < count_; }
  bool wait();
  void receive_waiting();
  void send_due();
  void send(const Outgoing& outgoing) const;

  StopSignals signals_;
  UdpSocket socket_;
  Handler handler_;
  Outbox outbox_;
  std::uint64_t count_;
  const Trace& trace_;
};

}  // namespace tavsim

#endif

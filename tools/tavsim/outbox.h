#ifndef TAVSIM_OUTBOX_H
#define TAVSIM_OUTBOX_H

#include <netinet/in.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "tavsim/bytes.h"

namespace tavsim {

using Clock = std::chrono::steady_clock;

/// One datagram on its way out.
struct Outgoing {
  Clock::time_point due;
  sockaddr_in to{};
  std::uint64_t request = 0;  ///< Number of the request that it answers.
  Bytes datagram;
};

/// Datagrams in the order in which they are to be sent: by time, and in the order of arrival for the same
/// time. One reply (all its datagrams) can be held back until another one is put in; it then follows that
/// one.
class Outbox {
 public:
  void put(Outgoing outgoing);

  /// Puts in a final reply; one that was held back follows it.
  void put_reply(std::vector<Outgoing> reply);

  /// Holds a reply back. Nothing may be held already.
  void hold(std::vector<Outgoing> reply) { held_ = std::move(reply); }

  bool is_holding() const { return !held_.empty(); }

  /// Puts in what is held back, to be sent at `earliest` or when it is due.
  void release(Clock::time_point earliest);

  /// The next datagram that is due by `now`.
  std::optional<Outgoing> take(Clock::time_point now);

  /// When the next datagram is due; nothing when none is queued.
  std::optional<Clock::time_point> next_due() const;

 private:
  std::multimap<Clock::time_point, Outgoing> queue_;
  std::vector<Outgoing> held_;
};

}  // namespace tavsim

#endif

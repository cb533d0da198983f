#ifndef GATEWAY_LOOKUP_H
#define GATEWAY_LOOKUP_H

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "user.h"

namespace gateway {

/// Asks the gateway's server who is at `address` (dotted quad) and waits up to 300 seconds. Nothing when the
/// look-up failed; the library's last error says why.
std::optional<User> look_up(const std::string& address);

/// How many look-ups may await their answers at a time. The requests must fit the server's receive buffer.
/// The answers that come while the loop is busy must fit ours. What does not fit is lost.
constexpr std::size_t most_in_flight = 100;

/// Look-ups through the event loop, one for each address. Destroy the object only when none of them is in
/// flight, or when the loop does not run again; SSO_Exit ends those in flight.
class Lookups {
 public:
  explicit Lookups(std::vector<std::string> addresses);

  Lookups(const Lookups&) = delete;
  Lookups& operator=(const Lookups&) = delete;

  /// Looks every address up, at most `most_in_flight` at a time, and runs the event loop until all look-ups
  /// have ended. One that is not answered within `patience_ms` fails.
  void run(unsigned patience_ms);

  /// How the `index`-th look-up ended; nothing when it failed or has not ended.
  std::optional<User> result(std::size_t index) const;

 private:
  // The library writes to the buffers until it calls back, so a look-up stays where it is.
  struct Lookup {
    std::array<char, 65> user{};
    std::array<char, 65> group{};
    std::size_t* in_flight{nullptr};
    bool ran{false};
  };

  static void ended(int success, void* cookie);
  void start_next();

  std::vector<std::string> addresses_;
  std::vector<Lookup> lookups_;  // as many as addresses
  std::size_t started_{0};
  std::size_t in_flight_{0};
};

}  // namespace gateway

#endif

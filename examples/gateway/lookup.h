#ifndef GATEWAY_LOOKUP_H
#define GATEWAY_LOOKUP_H

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "user.h"

namespace gateway {

/// Asks the gateway's server who is at `address` (dotted quad) and waits. Nothing when the look-up failed;
/// the library's last error tells why.
std::optional<User> look_up(const std::string& address);

/// Many look-ups in flight at once, answered through the event loop. The loop must not run again once the
/// object is gone while one of them is in flight; SSO_Exit ends those.
class Lookups {
 public:
  /// Sends a look-up of each address.
  explicit Lookups(const std::vector<std::string>& addresses);

  Lookups(const Lookups&) = delete;
  Lookups& operator=(const Lookups&) = delete;

  /// The number of look-ups that have not ended.
  std::size_t in_flight() const;

  /// Runs the event loop until every look-up has ended; false when none ended for `milliseconds`.
  bool finish(int milliseconds);

  /// How the `index`-th look-up ended; nothing when it failed or has not ended.
  std::optional<User> result(std::size_t index) const;

 private:
  // The library writes to the buffers until it calls back, so each lives in a block of its own.
  struct Lookup {
    std::array<char, 65> user{};
    std::array<char, 65> group{};
    std::size_t* in_flight{nullptr};
    bool ran{false};
  };

  static void ended(int success, void* cookie);

  std::vector<std::unique_ptr<Lookup>> lookups_;
  std::size_t in_flight_{0};
};

}  // namespace gateway

#endif

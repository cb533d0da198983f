#include "lookup.h"

#include <tavlib/tavlib.h>

#include <chrono>
#include <utility>

#include "event_loop.h"

namespace gateway {
namespace {

// A text that fills its buffer has no terminating zero. The last byte is ours, and stays zero.
unsigned room(const std::array<char, 65>& buffer) {
  return static_cast<unsigned>(buffer.size()) - 1;
}

}  // namespace

std::optional<User> look_up(const std::string& address) {
  std::array<char, 65> user{};
  std::array<char, 65> group{};
  if (SSO_GetUserByAddr(number_of(address), user.data(), room(user), group.data(), room(group)) == 0) {
    return std::nullopt;
  }
  return User{user.data(), group.data()};
}

Lookups::Lookups(std::vector<std::string> addresses)
    : addresses_(std::move(addresses)), lookups_(addresses_.size()) {}

// When the look-up cannot be started, the callback comes before this returns.
void Lookups::start_next() {
  const std::uint32_t address = number_of(addresses_[started_]);
  Lookup& lookup = lookups_[started_++];
  lookup.in_flight = &in_flight_;
  ++in_flight_;
  SSO_GetUserByAddrAsync(address, lookup.user.data(), room(lookup.user), lookup.group.data(),
                         room(lookup.group), ended, &lookup);
}

void Lookups::ended(int success, void* cookie) {
  auto& lookup = *static_cast<Lookup*>(cookie);
  lookup.ran = success == 1;
  --*lookup.in_flight;
}

// A lost datagram is not sent again, so look-ups that wait in vain are abandoned now and then.
void Lookups::run(unsigned patience_ms) {
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::seconds now_and_then{1};
  Clock::time_point expire_at = Clock::now() + now_and_then;
  while (started_ < lookups_.size() || in_flight_ > 0) {
    while (started_ < lookups_.size() && in_flight_ < most_in_flight)
      start_next();
    EventLoop::instance().run_once(100);
    if (Clock::now() < expire_at) continue;
    SSO_ExpireLookups(patience_ms);
    expire_at = Clock::now() + now_and_then;
  }
}

std::optional<User> Lookups::result(std::size_t index) const {
  const Lookup& lookup = lookups_.at(index);
  if (!lookup.ran) return std::nullopt;
  return User{lookup.user.data(), lookup.group.data()};
}

}  // namespace gateway

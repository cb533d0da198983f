#include "lookup.h"

#include <tavlib/tavlib.h>

#include "event_loop.h"

namespace gateway {
namespace {

// A text that fills its buffer is left without a terminating zero. The last byte is ours, and stays zero.
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

Lookups::Lookups(const std::vector<std::string>& addresses) : in_flight_(addresses.size()) {
  for (const std::string& address : addresses) {
    lookups_.push_back(std::make_unique<Lookup>());
    Lookup& lookup = *lookups_.back();
    lookup.in_flight = &in_flight_;
    SSO_GetUserByAddrAsync(number_of(address), lookup.user.data(), room(lookup.user), lookup.group.data(),
                           room(lookup.group), ended, &lookup);
  }
}

void Lookups::ended(int success, void* cookie) {
  auto& lookup = *static_cast<Lookup*>(cookie);
  lookup.ran = success == 1;
  --*lookup.in_flight;
}

std::size_t Lookups::in_flight() const {
  return in_flight_;
}

bool Lookups::finish(int milliseconds) {
  while (in_flight_ > 0) {
    if (!EventLoop::instance().run_once(milliseconds)) return false;
  }
  return true;
}

std::optional<User> Lookups::result(std::size_t index) const {
  const Lookup& lookup = *lookups_.at(index);
  if (!lookup.ran) return std::nullopt;
  return User{lookup.user.data(), lookup.group.data()};
}

}  // namespace gateway

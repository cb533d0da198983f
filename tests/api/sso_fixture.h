#ifndef TAVLIB_TESTS_API_SSO_FIXTURE_H
#define TAVLIB_TESTS_API_SSO_FIXTURE_H

#include <array>

#include "api/api_fixture.h"
#include "api/host_loop.h"

namespace tavtest {

/// The library as it was loaded, with the host's event loop empty.
class SsoTest : public ApiTest {
 protected:
  SsoTest() { loop = HostLoop(); }
  ~SsoTest() override { loop = HostLoop(); }

  /// Configures a second server, to which nothing can be sent.
  void configure_unreachable() {
    config.write_servers({server.configured(), {unreachable, 0, "x"}}, "127.0.0.1");
  }

  static constexpr char unreachable[] = "127.9.9.8";
  HostLoop& loop = host_loop();
};

/// An asynchronous look-up's buffers and what its callback was told. The buffers are full of '#' at first.
struct Lookup {
  static constexpr unsigned size = 16;

  /// Starts it.
  void start(unsigned long address) {
    SSO_GetUserByAddrAsync(address, user.data(), size, second.data(), size, ended, this);
  }

  /// The callback.
  static void ended(int success, void* cookie) {
    auto& self = *static_cast<Lookup*>(cookie);
    self.outcomes.push_back(success);
    self.last_error = TAVGetLastError();
    if (self.then) self.then();
  }

  /// The buffers up to their terminators.
  std::string user_text() const { return std::string(user.data(), strnlen(user.data(), size)); }
  std::string second_text() const { return std::string(second.data(), strnlen(second.data(), size)); }

  static std::array<char, size> filled() {
    std::array<char, size> buffer;
    buffer.fill('#');
    return buffer;
  }

  std::array<char, size> user = filled();
  std::array<char, size> second = filled();
  std::vector<int> outcomes;     ///< What each call of the callback was told.
  unsigned last_error = 0;       ///< In the last one.
  std::function<void()> then{};  ///< What the host does in it.
};

/// The layer up and running, and the look-ups that the server has received by address.
class RunningSsoTest : public SsoTest {
 protected:
  RunningSsoTest() {
    EXPECT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
    TAVSetLastError(untouched);
  }
  ~RunningSsoTest() override { SSO_Exit(); }

  static constexpr unsigned long somewhere = 0x0a000001;

  /// The entry of a user at an address.
  static WireEntry user_at(unsigned long where, std::u16string name = u"ALICE") {
    return {.user = std::move(name),
            .string2 = u"NOT THIS",
            .string3 = u"TREE",
            .address = static_cast<std::uint32_t>(where)};
  }

  /// The address that a look-up's request asks for.
  static std::uint32_t asked(const FakeServer::Request& request) { return get_be32(request.packet, 60); }
};

/// The packet of a look-up: three prescribed words, and a filter with nothing but the address.
inline Bytes lookup_packet(std::uint32_t id, std::uint32_t where) {
  return query_packet(id, 0x10010, 0, 0, {.address = where});
}

}  // namespace tavtest

#endif

#ifndef TAVLIB_TESTS_FAULTS_NETWORK_FORGERY_H
#define TAVLIB_TESTS_FAULTS_NETWORK_FORGERY_H

#include <gtest/gtest.h>
#include <netinet/in.h>

#include <functional>

#include "faults/network/lookups.h"
#include "support/fake_server.h"
#include "support/fake_time.h"

namespace tavtest {

/// A host with the single-sign-on layer up, and a server whose datagrams the test makes one by one, with
/// right digests and wrong ones.
class ForgeryTest : public testing::Test {
 protected:
  static constexpr unsigned long here = 0x0b000001;
  static constexpr unsigned long there = 0x0b000002;

  ForgeryTest() { EXPECT_STREQ(SSO_Init(), "Norvel TAV/TIZ"); }
  ~ForgeryTest() override { SSO_Exit(); }

  unsigned long address() const { return server.address_number(); }

  /// The entry of a user.
  static WireEntry user_at(unsigned long where, std::u16string name) {
    return {.user = std::move(name), .string3 = u"TREE", .address = static_cast<std::uint32_t>(where)};
  }

  /// The final reply to a look-up under `id`, sealed by the server.
  Bytes right_reply(std::uint32_t id, const WireEntry& entry) const;

  /// The same by somebody who does not know the pass phrase.
  static Bytes forged_reply(std::uint32_t id, const WireEntry& entry);

  /// Lets `script` run in the first wait, with the request that is waited for.
  void in_first_wait(std::function<void(const FakeServer::Request&)> script);

  /// Asserts that look-ups of every kind work now.
  void expect_unharmed();

  FakeServer server{"open sesame"};
  TestConfig config{{server.configured()}, server.address()};
  FakeTime time;
};

/// Gives the library's socket to a server the port of an earlier one, as the system might, too.
void take_port(unsigned long server, in_port_t port);

/// Whether a look-up told this user and the tree that goes with the tests' users.
testing::AssertionResult tells(const std::string& user, const Answer& answer);

/// Whether it failed with `code`.
testing::AssertionResult fails_with(unsigned code, const Answer& answer);

}  // namespace tavtest

#endif

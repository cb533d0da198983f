#include "faults/network/forgery.h"

#include <sys/socket.h>

#include "support/oracle.h"

namespace tavtest {

Bytes ForgeryTest::right_reply(std::uint32_t id, const WireEntry& entry) const {
  return seal_reply(entry_packet(0x83, id, entry), server.passphrase());
}

Bytes ForgeryTest::forged_reply(std::uint32_t id, const WireEntry& entry) {
  return seal_reply(entry_packet(0x83, id, entry), "open sesamE");
}

void ForgeryTest::in_first_wait(std::function<void(const FakeServer::Request&)> script) {
  time.script({[this, script = std::move(script)] { script(server.receive()); }});
}

void ForgeryTest::expect_unharmed() {
  for (const Kind kind : all_kinds) {
    in_first_wait([this](const auto& request) { server.reply_entry(request, user_at(there, u"BOB")); });
    EXPECT_TRUE(tells("BOB", look_up(kind, address(), there)));
    AsyncLookup lookup;
    lookup.start(kind, address(), here);
    server.reply_entry(server.receive(), user_at(here, u"ALICE"));
    serve_socket(address());
    ASSERT_EQ(lookup.ends(), 1U);
    EXPECT_TRUE(tells("ALICE", *lookup.answer()));
  }
}

void take_port(unsigned long server, in_port_t port) {
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_port = port;
  ASSERT_EQ(bind(TAVGetSocket(server), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
}

testing::AssertionResult tells(const std::string& user, const Answer& answer) {
  if (answer.code != 0) return testing::AssertionFailure() << "code " << answer.code;
  if (answer.user != User{user, user.empty() ? "" : "TREE"}) {
    return testing::AssertionFailure() << "\"" << answer.user.user << "\", \"" << answer.user.second << "\"";
  }
  return testing::AssertionSuccess();
}

testing::AssertionResult fails_with(unsigned code, const Answer& answer) {
  if (answer.code == code) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "code " << answer.code << ", \"" << answer.user.user << "\"";
}

}  // namespace tavtest

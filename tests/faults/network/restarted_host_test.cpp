// A host that is started again: request ids begin anew, and its socket may get the port that it had before.
// Nothing in a reply tells which life it belongs to, so one that fits a request in flight is its answer:
// whoever recorded the replies to a host's first requests can answer those that it makes after its next
// start. All others are dropped.
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>

#include "faults/network/forgery.h"

namespace tavtest {
namespace {

using Request = FakeServer::Request;

/// A host that is started twice: two processes that begin with the same request ids, at the same port.
class RestartedHost : public testing::Test {
 protected:
  static constexpr unsigned first = 0x0b000001;
  static constexpr unsigned lookups = 3;

  // Runs `life` in a process of its own, with the layer up.
  void live(const std::function<void()>& life) {
    std::fflush(stdout);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      EXPECT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
      try {
        life();
      } catch (const std::exception& failure) {
        ADD_FAILURE() << failure.what();
      }
      std::fflush(stdout);
      _exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
  }

  unsigned long address() const { return server.address_number(); }

  void start_all(std::array<AsyncLookup, lookups>& started, unsigned addresses) const {
    for (unsigned i = 0; i < lookups; ++i)
      started.at(i).start(Kind::sso, address(), addresses + i);
  }

  std::array<Request, lookups> receive_all() {
    std::array<Request, lookups> requests;
    for (Request& each : requests)
      each = server.receive();
    return requests;
  }

  void reply(const Request& request, std::u16string name) {
    server.reply_entry(request, {.user = std::move(name), .string3 = u"TREE"});
  }

  // The requests of the first life, which ends without an answer.
  std::array<Request, lookups> live_first() {
    live([&] {
      std::array<AsyncLookup, lookups> asked;
      start_all(asked, first);
    });
    return receive_all();
  }

  FakeServer server{"open sesame"};
  TestConfig config{{server.configured()}, server.address()};
  FakeTime time;
};

TEST_F(RestartedHost, TakesRepliesToItsEarlierLifeForAnswersIfIdAndPortFit) {
  const auto earlier = live_first();
  live([&] {
    take_port(address(), earlier[0].sender.sin_port);
    std::array<AsyncLookup, lookups> asked;
    start_all(asked, first + 100);
    const auto requests = receive_all();
    EXPECT_EQ(requests[0].id(), earlier[0].id()) << "ids start anew";
    EXPECT_EQ(requests[0].sender.sin_port, earlier[0].sender.sin_port);

    reply(earlier[0], u"EARLIER");
    server.reply_bad_digest(earlier[1]);
    server.reply_interim(earlier[2]);
    serve_socket(address());
    for (const Request& each : requests)
      reply(each, u"NOW");
    serve_socket(address());
    EXPECT_TRUE(tells("EARLIER", asked[0].answer().value()));
    EXPECT_TRUE(fails_with(13, asked[1].answer().value()));
    EXPECT_TRUE(tells("NOW", asked[2].answer().value()));

    std::array<AsyncLookup, lookups> next;
    start_all(next, first);
    for (const Request& each : earlier)
      reply(each, u"EARLIER");
    for (const Request& each : receive_all())
      reply(each, u"NOW");
    serve_socket(address());
    for (const AsyncLookup& each : next)
      EXPECT_TRUE(tells("NOW", each.answer().value()));
  });
}

TEST_F(RestartedHost, DropsRepliesToItsEarlierLifeWhoseIdsItHasPassed) {
  const auto earlier = live_first();
  live([&] {
    take_port(address(), earlier[0].sender.sin_port);
    std::array<AsyncLookup, lookups> asked;
    start_all(asked, first + 100);
    for (const Request& each : receive_all())
      reply(each, u"NOW");
    for (const Request& each : earlier)
      reply(each, u"EARLIER");
    serve_socket(address());
    for (const AsyncLookup& each : asked) {
      EXPECT_EQ(each.ends(), 1U);
      EXPECT_TRUE(tells("NOW", each.answer().value()));
    }
  });
}

}  // namespace
}  // namespace tavtest

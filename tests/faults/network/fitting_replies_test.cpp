// Replies that fit: same id, right digest, of another question. Nothing in a reply tells what was asked but
// its id, so the library cannot know better. Whoever recorded the replies to a host's first requests can
// answer those that it makes after its next start, when ids begin anew. What holds: the prescribed outcome,
// sound memory, and the next look-up is unharmed.
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <ostream>

#include "faults/network/forgery.h"
#include "support/oracle.h"

namespace tavtest {
namespace {

using Request = FakeServer::Request;

struct Fitting {
  const char* name;
  Bytes (*packet)(std::uint32_t id);
  User told;

  friend std::ostream& operator<<(std::ostream& out, const Fitting& each) { return out << each.name; }
};

Bytes counted(std::uint8_t code, std::uint32_t id, std::uint32_t count) {
  Bytes packet = make_packet(code, id);
  put_be32(packet, 28, count);
  return packet;
}

const std::vector<Fitting> fitting{
    {"AnotherUsersEntry",
     [](std::uint32_t id) {
       return entry_packet(0x83, id, {.user = u"EARLIER", .string3 = u"TREE", .address = 7});
     },
     {"EARLIER", "TREE"}},
    {"NoEntry", [](std::uint32_t id) { return counted(0x83, id, 0); }, {}},
    // A count that is not 0 and a descriptor without anything: an entry, and nobody's name in it.
    {"Version", [](std::uint32_t id) { return counted(0x81, id, 0x01020304); }, {}},
    {"Status", [](std::uint32_t id) { return counted(0x82, id, 0); }, {}},
    {"NoCodeAtAll",
     [](std::uint32_t id) { return entry_packet(0x80, id, {.user = u"BARE", .string3 = u"TREE"}); },
     {"BARE", "TREE"}},
    {"LoggedOut",
     [](std::uint32_t id) { return entry_packet(0x83, id, {.user = u"GONE", .string3 = u"X", .word12 = 1}); },
     {}}};

class FittingReply : public ForgeryTest, public testing::WithParamInterface<std::tuple<Fitting, Kind>> {
 protected:
  void reply(const Request& request) {
    server.reply_packet(request, std::get<0>(GetParam()).packet(request.id()));
    server.reply_entry(request, user_at(here, u"TRUE"));  // comes second, and fits nothing any more
  }

  const User& told() const { return std::get<0>(GetParam()).told; }
  Kind kind() const { return std::get<1>(GetParam()); }
};

TEST_P(FittingReply, IsTakenForTheAnswerByAWaitingLookup) {
  in_first_wait([this](const Request& request) { reply(request); });
  const Answer answer = look_up(kind(), address(), here);
  EXPECT_EQ(answer.code, 0U);
  EXPECT_EQ(answer.user, told());
  expect_unharmed();
}

TEST_P(FittingReply, IsTakenForTheAnswerByAnAsynchronousLookup) {
  AsyncLookup lookup;
  lookup.start(kind(), address(), here);
  reply(server.receive());
  serve_socket(address());
  ASSERT_EQ(lookup.ends(), 1U);
  EXPECT_EQ(lookup.answer()->code, 0U);
  EXPECT_EQ(lookup.answer()->user, told());
  expect_unharmed();
}

INSTANTIATE_TEST_SUITE_P(All, FittingReply,
                         testing::Combine(testing::ValuesIn(fitting), testing::ValuesIn(all_kinds)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) + "To" +
                                  name_of(std::get<1>(test.param));
                         });

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
      life();
      std::fflush(stdout);
      _exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "status " << status;
  }

  unsigned long address() const { return server.address_number(); }

  void take_port(in_port_t port) const {
    sockaddr_in name{};
    name.sin_family = AF_INET;
    name.sin_port = port;
    ASSERT_EQ(bind(TAVGetSocket(address()), reinterpret_cast<const sockaddr*>(&name), sizeof name), 0);
  }

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

  FakeServer server{"open sesame"};
  TestConfig config{{server.configured()}, server.address()};
  FakeTime time;
};

TEST_F(RestartedHost, TakesRepliesToItsEarlierLifeForAnswersIfIdAndPortFit) {
  live([&] {
    std::array<AsyncLookup, lookups> asked;
    start_all(asked, first);
  });
  const auto earlier = receive_all();

  live([&] {
    take_port(earlier[0].sender.sin_port);
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
  live([&] {
    std::array<AsyncLookup, lookups> asked;
    start_all(asked, first);
  });
  const auto earlier = receive_all();

  live([&] {
    take_port(earlier[0].sender.sin_port);
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

// One of three servers got no socket, because the system had none when the library started.

#include <array>
#include <cerrno>
#include <optional>

#include "conformance/event_loop.h"
#include "faults/hosts/host_test.h"
#include "support/socket_faults.h"

using namespace tavtest;

namespace {

class SocketlessServer : public HostTest {
 protected:
  SocketlessServer() {
    time.on_wait([this](int, timeval) {
      server.answer_all();
      last.answer_all();
    });
  }

  // `broken` gets no socket; the others are served.
  void start(const std::string& gateway = "") {
    config.write_servers({server.configured(), {"127.0.0.2", 9, "broken"}, last.configured()}, gateway);
    SocketFaults faults;
    faults.fail_one("socket", 1, EMFILE);
    ASSERT_EQ(TAVInitialize(), 1);
  }

  // The result of an addition and the last error it leaves.
  std::pair<int, unsigned> add() {
    TAVSetLastError(99);
    const _TAVENTRYA entry{};
    const int result = TAVAddEntryA(&entry);
    return {result, TAVGetLastError()};
  }

  std::vector<std::uint32_t> entries_of(unsigned long asked) {
    const _TAVENTRYA everything{};
    TAVQueryEnum* query = nullptr;
    EXPECT_EQ(TAVQueryStartA(&everything, 0, 0, asked, 0, &query), 1);
    std::vector<std::uint32_t> found;
    _TAVENTRYA entry{};
    while (TAVQueryNextA(query, &entry) == 1)
      found.push_back(entry.address);
    ended_with = TAVGetLastError();
    TAVQueryClose(query);
    return found;
  }

  AnsweringServer last{"127.0.0.3", 0x00030003};
  const unsigned long broken = address_of("127.0.0.2");
  unsigned ended_with = 0;
};

using Addresses = std::vector<std::uint32_t>;
using Added = std::pair<int, unsigned>;

}  // namespace

TEST_F(SocketlessServer, IsListedAmongTheOthersWithoutASocket) {
  start();
  const unsigned long expected[] = {address(), broken, last.address_number()};
  for (unsigned i = 0; i < 3; ++i) {
    unsigned long found = 0;
    EXPECT_EQ(TAVEnumServers(i, &found), 1);
    EXPECT_EQ(found, expected[i]);
  }
  EXPECT_EQ(TAVGetSocket(broken), -1);
}

TEST_F(SocketlessServer, FailsWith12InEveryFormAndTakesNoHandle) {
  start();
  unsigned version = 5;
  TAVASYNC async{};
  EXPECT_EQ(error_of(TAVQueryVersion(broken, &version)), 12U);
  EXPECT_EQ(error_of(TAVQueryVersionAs(broken, &version, &async)), 12U);
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_EQ(version, 5U);
  TAVASYNC* popped = nullptr;
  EXPECT_EQ(error_of(TAVASyncPop(&popped, broken)), 14U);
  EXPECT_EQ(popped, nullptr);
  EXPECT_TRUE(time.waits().empty());
}

TEST_F(SocketlessServer, LeavesAnEnumerationOfItIdleAfter12) {
  start();
  const _TAVENTRYW everything{};
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TAVQueryStartW(&everything, 0, 0, broken, 0, &query), 1);
  _TAVENTRYW entry{};
  TAVASYNC async{};
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(error_of(TAVQueryNextW(query, &entry)), 12U);
    EXPECT_EQ(error_of(TAVQueryNextAsW(query, &entry, &async)), 12U);
    EXPECT_EQ(async.Request, nullptr);
  }
  TAVQueryClose(query);
}

TEST_F(SocketlessServer, DoesNotHinderTheOthers) {
  start();
  EXPECT_EQ(version_of(address()), 0x00010002U);
  EXPECT_EQ(version_of(last.address_number()), 0x00030003U);
  for (const unsigned long good : {address(), last.address_number()}) {
    EXPECT_EQ(entries_of(good), (Addresses{1, 2, 3}));
    EXPECT_EQ(ended_with, 6U);
    EXPECT_EQ(entries_of(broken), Addresses{});
    EXPECT_EQ(ended_with, 12U);
  }
}

TEST_F(SocketlessServer, MakesAnAdditionOneThatSomeTookAndIsThenPassedOver) {
  start();
  EXPECT_EQ(add(), Added(1, 12));
  EXPECT_EQ(add(), Added(1, 0));
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(add(), Added(1, 12)) << "asked again after a further initialisation";
  EXPECT_EQ(server.entries_taken(), 3);
  EXPECT_EQ(last.entries_taken(), 3);
}

TEST_F(SocketlessServer, GetsItsSocketWhenTheLibraryIsStartedAnew) {
  start();
  TAVExit();
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_GE(TAVGetSocket(broken), 0);
}

TEST_F(SocketlessServer, AsTheGatewaysFailsEveryLookUpWith12) {
  EventLoop loop;
  start("127.0.0.2");
  ASSERT_NE(SSO_Init(), nullptr);
  EXPECT_EQ(loop.added(), std::vector<int>{-1});
  std::array<char, 8> user{"before"};
  EXPECT_EQ(error_of(SSO_GetUserByAddr(somewhere, user.data(), 7, nullptr, 0)), 12U);
  EXPECT_STREQ(user.data(), "before");
  int told = -1;
  SSO_GetUserByAddrAsync(
      somewhere, user.data(), 7, nullptr, 0,
      [](int success, void* cookie) { *static_cast<int*>(cookie) = success; }, &told);
  EXPECT_EQ(told, 0);
  EXPECT_EQ(SSO_GetLastError(), 12U);
  SSO_Exit();
  EXPECT_EQ(loop.removed(), std::vector<int>{-1});
}

// How long TransactServer waits, and for what.

#include <cerrno>

#include "protocol/server_interface_fixture.h"
#include "support/fake_time.h"

namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using tavtest::Bytes;
using tavtest::FakeServer;
using tavtest::FakeTime;
using tavtest::TransportTest;
using Timeouts = std::vector<long long>;

constexpr long long first_wait = 15'000'000;  // microseconds

/// A blocking exchange with a server that does one scripted step per wait.
class ServerInterfaceWait : public TransportTest {
 protected:
  using Step = std::function<void()>;

  /// Runs the exchange with one step in each wait, which finds the request in `sent`.
  unsigned transact(const std::vector<Step>& steps, unsigned timeout = 2500) {
    std::size_t next = 0;
    time.on_wait([&](int, timeval) {
      if (!server.is_idle()) sent = server.receive();
      if (next < steps.size()) steps[next++]();
    });
    tavtest::load(packet, tavtest::make_packet(5, 0));
    const unsigned status = transport.TransactServer(&packet, sizeof packet, timeout);
    time.on_wait({});
    return status;
  }

  Step interim(microseconds after = microseconds(0)) {
    return [this, after] {
      time.advance(after);
      server.reply_interim(sent);
    };
  }
  Step final_reply() {
    return [this] { server.reply_status(sent); };
  }

  FakeTime time;
  FakeServer::Request sent;
  _TAVPACKET packet{};
};

TEST_F(ServerInterfaceWait, ReturnsTheFinalReply) {
  EXPECT_EQ(transact({final_reply()}), 0U);
  EXPECT_EQ(tavtest::memory_of(packet, 100), tavtest::seal_reply(tavtest::reply_to(sent), secret));
}

TEST_F(ServerInterfaceWait, TheFirstWaitLastsFifteenSecondsWhateverTheTimeout) {
  for (const unsigned timeout : {0U, 1U, 60'000U, 0xffffffffU}) {
    const std::size_t before = time.waits().size();
    EXPECT_EQ(transact({final_reply()}, timeout), 0U);
    const auto waits = time.waits();
    ASSERT_EQ(waits.size(), before + 1);
    EXPECT_EQ(waits.back().fd, transport.GetSocket());
    EXPECT_EQ(waits.back().timeout.tv_sec, 15);
    EXPECT_EQ(waits.back().timeout.tv_usec, 0);
  }
}

TEST_F(ServerInterfaceWait, LaterWaitsLastTheTimeoutInSecondsAndMicroseconds) {
  EXPECT_EQ(transact({interim(), interim(), final_reply()}, 2503), 0U);
  const auto waits = time.waits();
  ASSERT_EQ(waits.size(), 3U);
  EXPECT_EQ(waits[0].timeout.tv_sec, 15);
  for (const std::size_t later : {1U, 2U}) {
    EXPECT_EQ(waits[later].timeout.tv_sec, 2);
    EXPECT_EQ(waits[later].timeout.tv_usec, 503'000);
    EXPECT_EQ(waits[later].fd, transport.GetSocket());
  }
}

TEST_F(ServerInterfaceWait, LaterWaitsMayBeNoneOrVeryLong) {
  EXPECT_EQ(transact({interim(), final_reply()}, 0), 0U);
  EXPECT_EQ(transact({interim(), final_reply()}, 999), 0U);
  EXPECT_EQ(transact({interim(), final_reply()}, 0xffffffffU), 0U);
  EXPECT_EQ(time.timeouts(), (Timeouts{first_wait, 0, first_wait, 999'000, first_wait, 4'294'967'295'000}));
}

TEST_F(ServerInterfaceWait, AnInterimReplyThenTheFinalOneWithinFifteenSecondsIsAnAnswer) {
  EXPECT_EQ(transact({interim(milliseconds(14'998)), final_reply()}), 0U);
  EXPECT_EQ(tavtest::memory_of(packet, 100), tavtest::seal_reply(tavtest::reply_to(sent), secret));
}

TEST_F(ServerInterfaceWait, ASilentServerIsGivenUpAfterTheFirstWait) {
  EXPECT_EQ(transact({}), 4U);
  EXPECT_EQ(time.timeouts(), Timeouts{first_wait});
}

TEST_F(ServerInterfaceWait, AServerThatFallsSilentIsGivenUpAfterTheTimeout) {
  EXPECT_EQ(transact({interim()}), 4U);
  EXPECT_EQ(time.timeouts(), (Timeouts{first_wait, 2'500'000}));
}

// 14999 milliseconds after sending another wait begins; one millisecond later none does.
struct Patience {
  microseconds elapsed;
  bool goes_on;

  friend void PrintTo(const Patience& patience, std::ostream* out) {
    *out << "after " << patience.elapsed.count() << " microseconds";
  }
};

class ServerInterfacePatience : public ServerInterfaceWait, public testing::WithParamInterface<Patience> {};

TEST_P(ServerInterfacePatience, EndsAfter14999Milliseconds) {
  EXPECT_EQ(transact({interim(GetParam().elapsed), final_reply()}, 60'000), GetParam().goes_on ? 0U : 4U);
  EXPECT_EQ(time.waits().size(), GetParam().goes_on ? 2U : 1U);
}

INSTANTIATE_TEST_SUITE_P(Elapsed, ServerInterfacePatience,
                         testing::Values(Patience{milliseconds(14'999), true},
                                         Patience{microseconds(14'999'999), true},
                                         Patience{milliseconds(15'000), false},
                                         Patience{std::chrono::hours(1), false}));

TEST_F(ServerInterfaceWait, InterimRepliesThatKeepComingAreGivenUp) {
  const std::vector<Step> steps(100, interim(milliseconds(1'000)));
  EXPECT_EQ(transact(steps, 60'000), 4U);
  EXPECT_EQ(time.waits().size(), 15U);
}

// The clock of milliseconds wraps at 2^32; the time that has passed does not.
TEST_F(ServerInterfaceWait, PatienceSurvivesAWrapOfTheClock) {
  time.set(4'294'967, 290'000);
  EXPECT_EQ(transact({interim(milliseconds(10'000)), interim(milliseconds(4'999)), final_reply()}), 0U);
  time.set(4'294'967, 290'000);
  EXPECT_EQ(transact({interim(milliseconds(15'000)), final_reply()}), 4U);
}

class ServerInterfaceWaitFailure : public ServerInterfaceWait, public testing::WithParamInterface<int> {};

TEST_P(ServerInterfaceWaitFailure, IsNoAnswer) {
  time.fail_waits(GetParam());
  EXPECT_EQ(transact({final_reply()}), 4U);
  EXPECT_EQ(time.waits().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Errors, ServerInterfaceWaitFailure, testing::Values(EINTR, EBADF, EINVAL, ENOMEM));

TEST_F(ServerInterfaceWait, ADatagramForAnotherRequestSettlesThatOneAndTheWaitGoesOn) {
  ServerInterface::ASyncRequest other;
  const auto other_sent = start(other);
  const auto answer_other = [&] { server.reply_status(other_sent); };
  EXPECT_EQ(transact({answer_other, final_reply()}), 0U);
  EXPECT_EQ(other.status, 0U);
  EXPECT_EQ(time.timeouts(), (Timeouts{first_wait, 2'500'000}));
}

TEST_F(ServerInterfaceWait, DroppedDatagramsDoNotEndTheWait) {
  const auto nonsense = [this] { server.send_raw(sent, Bytes(11, 0xff)); };
  const auto unknown = [this] { server.send_raw(sent, tavtest::make_packet(0x85, sent.id() + 1)); };
  EXPECT_EQ(transact({nonsense, unknown, final_reply()}), 0U);
  EXPECT_EQ(time.timeouts(), (Timeouts{first_wait, 2'500'000, 2'500'000}));
}

TEST_F(ServerInterfaceWait, DroppedDatagramsDoNotKeepTheWaitAlive) {
  const auto late_nonsense = [this] {
    time.advance(milliseconds(15'000));
    server.send_raw(sent, Bytes(200, 0xff));
  };
  EXPECT_EQ(transact({late_nonsense, final_reply()}), 4U);
  EXPECT_EQ(time.waits().size(), 1U);
}

}  // namespace

// Asking once for the state of a request, and waiting for its answer.

#include <cerrno>

#include "api/api_fixture.h"

using namespace tavtest;

namespace {

constexpr long long long_wait = 300'000'000;

class AsyncStatus : public InitialisedTest {
 protected:
  AsyncStatus() {
    EXPECT_TRUE(failed_with(14, TAVQueryVersionAs(address(), &version, &async)));
    request = server.receive();
    TAVSetLastError(untouched);
  }
  ~AsyncStatus() override {
    if (async.Request != nullptr) {
      time.on_wait(nullptr);
      time.fail_waits(EBADF);
      TAVASyncStatus(&async, 1);
    }
  }

  // A late answer to the abandoned request finds nobody.
  void expect_forgotten() {
    EXPECT_EQ(async.Request, nullptr);
    server.reply_version(request, 9);
    TAVASYNC* popped = nullptr;
    EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
    EXPECT_EQ(popped, nullptr);
    EXPECT_EQ(version, 7u);
  }

  unsigned version = 7;
  TAVASYNC async{};
  FakeServer::Request request;
};

class Polling : public AsyncStatus {
 protected:
  ~Polling() override {
    // A poll asks once, without waiting.
    EXPECT_EQ(time.timeouts(), std::vector<long long>{0});
  }
};

class Waiting : public AsyncStatus {};

}  // namespace

TEST_F(Polling, WithoutAnAnswerGives14AndLeavesTheHandleOutstanding) {
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&async, 0)));
  EXPECT_NE(async.Request, nullptr);
}

namespace {

// A handle whose outcome was told, or that was given up.
class EmptyHandle : public AsyncStatus, public testing::WithParamInterface<int> {};

}  // namespace

TEST_P(EmptyHandle, HasTheStatus17AndNoSocket) {
  ASSERT_EQ(TAVASyncAbandon(&async), 1);
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(failed_with(17, TAVASyncStatus(&async, GetParam())));
    EXPECT_EQ(TAVASyncSocket(&async), -1);
  }
  EXPECT_TRUE(time.waits().empty());
  TAVASYNC fresh{};
  EXPECT_TRUE(failed_with(17, TAVASyncStatus(&fresh, GetParam())));
}

INSTANTIATE_TEST_SUITE_P(Wait, EmptyHandle, testing::Values(0, 1), testing::PrintToStringParamName());

TEST_F(Polling, TakesAnAnswerThatIsThere) {
  server.reply_version(request, 3);
  EXPECT_EQ(TAVASyncStatus(&async, 0), 1);
  EXPECT_EQ(TAVGetLastError(), untouched);
  EXPECT_EQ(version, 3u);
  EXPECT_EQ(async.Request, nullptr);
}

TEST_F(Polling, InterimReplyGives14) {
  server.reply_interim(request);
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&async, 0)));
  EXPECT_NE(async.Request, nullptr);
}

TEST_F(Polling, ErrorReplyGives2AndReleasesTheRequest) {
  server.reply_error(request);
  EXPECT_TRUE(failed_with(2, TAVASyncStatus(&async, 0)));
  expect_forgotten();
}

TEST_F(Polling, WrongDigestGives13AndReleasesTheRequest) {
  server.reply_bad_digest(request);
  EXPECT_TRUE(failed_with(13, TAVASyncStatus(&async, 0)));
  expect_forgotten();
}

TEST_F(Polling, ADatagramForNobodyGives14) {
  server.send_raw(request, Bytes(20));
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&async, 0)));
  EXPECT_NE(async.Request, nullptr);
}

TEST_F(Polling, AnInterruptedPollGives14) {
  time.fail_waits(EINTR);
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&async, 0)));
  EXPECT_NE(async.Request, nullptr);
}

TEST_F(Polling, AFailedPollGives14) {
  time.fail_waits(EBADF);
  EXPECT_TRUE(failed_with(14, TAVASyncStatus(&async, 0)));
  EXPECT_NE(async.Request, nullptr);
}

TEST_F(Waiting, WatchesTheServersSocketFor300Seconds) {
  time.script({[this] { server.reply_version(request, 3); }});
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  ASSERT_EQ(time.waits().size(), 1u);
  EXPECT_EQ(time.waits()[0].fd, TAVGetSocket(address()));
  EXPECT_EQ(time.waits()[0].timeout.tv_sec, 300);
  EXPECT_EQ(time.waits()[0].timeout.tv_usec, 0);
}

TEST_F(Waiting, TimeOutGives4AndAbandonsTheRequest) {
  errno = 0;
  EXPECT_TRUE(failed_with(4, TAVASyncStatus(&async, 1)));
  EXPECT_EQ(time.timeouts(), std::vector<long long>{long_wait});
  expect_forgotten();
}

TEST_F(Waiting, AnyNonZeroFlagWaits) {
  EXPECT_TRUE(failed_with(4, TAVASyncStatus(&async, -1)));
  EXPECT_EQ(time.timeouts(), std::vector<long long>{long_wait});
}

TEST_F(Waiting, TimeOutWithErrorNumber4StartsOver) {
  time.script({[] { errno = EINTR; }, [] { errno = EINTR; }, [] { errno = 0; }});
  EXPECT_TRUE(failed_with(4, TAVASyncStatus(&async, 1)));
  EXPECT_EQ(time.timeouts(), std::vector<long long>(3, long_wait));
}

TEST_F(Waiting, AnInterruptedWaitStartsOver) {
  time.script({[this] { time.fail_waits(EINTR); }, [] {},
               [this] {
                 time.fail_waits(0);
                 server.reply_version(request, 3);
               }});
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_EQ(version, 3u);
  EXPECT_EQ(time.timeouts(), std::vector<long long>(3, long_wait));
}

TEST_F(Waiting, AFailedWaitGives4AndAbandonsTheRequest) {
  time.fail_waits(EBADF);
  EXPECT_TRUE(failed_with(4, TAVASyncStatus(&async, 1)));
  EXPECT_EQ(time.waits().size(), 1u);
  expect_forgotten();
}

TEST_F(Waiting, GoesOnAfterDatagramsForNobody) {
  time.script({[this] { server.send_raw(request, Bytes(3)); },
               [this] { server.reply_packet(request, make_packet(0x81, request.id() + 1)); },
               [this] { server.reply_interim(request); }, [this] { server.reply_version(request, 3); }});
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_EQ(time.timeouts(), std::vector<long long>(4, long_wait));
}

TEST_F(Waiting, GoesOnAfterAnotherRequestsAnswer) {
  unsigned other_version = 0;
  TAVASYNC other{};
  ASSERT_EQ(TAVQueryVersionAs(address(), &other_version, &other), 0);
  time.script(
      {[this] { server.reply_version(server.receive(), 5); }, [this] { server.reply_version(request, 3); }});
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_EQ(time.waits().size(), 2u);
  EXPECT_EQ(version, 3u);
  EXPECT_EQ(TAVASyncStatus(&other, 0), 1);
  EXPECT_EQ(other_version, 5u);
}

TEST_F(Waiting, ErrorReplyGives2AndReleasesTheRequest) {
  server.reply_error(request);
  EXPECT_TRUE(failed_with(2, TAVASyncStatus(&async, 1)));
  expect_forgotten();
}

TEST_F(Waiting, WrongDigestGives13AndReleasesTheRequest) {
  server.reply_bad_digest(request);
  EXPECT_TRUE(failed_with(13, TAVASyncStatus(&async, 1)));
  expect_forgotten();
}

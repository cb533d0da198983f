// Asynchronous handles: polled, waited for and popped, answered or not.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "conformance/host.h"
#include "conformance/tavsim.h"
#include "support/fake_time.h"

namespace tavtest {
namespace {

class Async : public testing::Test {
 protected:
  explicit Async(const std::vector<std::string>& arguments = {})
      : server_(TavsimOptions{"127.0.0.1", "secret", sample_entries, arguments}),
        config_({server_.configured()}) {}

  Tavsim server_;
  TestConfig config_;
  Library library_;
  TAVASYNC async_{};
  unsigned version_ = 0;
};

class AsyncWithoutAnswers : public Async {
 protected:
  AsyncWithoutAnswers() : Async({"--fault", "loss=every:1"}) {
    EXPECT_EQ(error_of(TAVQueryVersionAs(server_.number(), &version_, &async_)), 14U);
  }
};

TEST_F(Async, AStartedRequestIsPendingOnTheServersSocket) {
  async_.Context = &version_;
  EXPECT_EQ(error_of(TAVQueryVersionAs(server_.number(), &version_, &async_)), 14U);
  ASSERT_NE(async_.Request, nullptr);
  EXPECT_EQ(async_.Context, &version_);
  EXPECT_EQ(TAVASyncSocket(&async_), TAVGetSocket(server_.number()));
  EXPECT_EQ(TAVASyncStatus(&async_, 1), 1);
  EXPECT_EQ(version_, 1U);
}

TEST_F(Async, ARequestThatCannotBeStartedIsReleased) {
  EXPECT_EQ(error_of(TAVQueryVersionAs(address_of("127.0.0.9"), &version_, &async_)), 11U);
  EXPECT_EQ(async_.Request, nullptr);
}

TEST_F(Async, PollingFindsTheAnswer) {
  ASSERT_EQ(error_of(TAVQueryVersionAs(server_.number(), &version_, &async_)), 14U);
  ASSERT_TRUE(is_readable(TAVASyncSocket(&async_)));
  EXPECT_EQ(TAVASyncStatus(&async_, 0), 1);
  EXPECT_EQ(async_.Request, nullptr);
  EXPECT_EQ(version_, 1U);
}

TEST_F(Async, ManyRequestsAreEachPoppedOnce) {
  constexpr std::size_t many = 200;
  std::vector<TAVASYNC> handles(many);
  std::vector<unsigned> versions(many, 0);
  for (std::size_t i = 0; i < many; ++i) {
    ASSERT_EQ(error_of(TAVQueryVersionAs(server_.number(), &versions[i], &handles[i])), 14U);
  }
  for (std::size_t answered = 0; answered < many; ++answered) {
    ASSERT_TRUE(is_readable(TAVGetSocket(server_.number())));
    TAVASYNC* done = nullptr;
    ASSERT_EQ(TAVASyncPop(&done, server_.number()), 1);
    ASSERT_EQ(done, &handles[answered]) << "the server answers in order";
    EXPECT_EQ(done->Request, nullptr);
  }
  EXPECT_EQ(versions, std::vector<unsigned>(many, 1));
}

TEST_F(Async, AnAnswerReadForSomebodyElseIsStillTold) {
  TAVASYNC second{};
  unsigned other = 0;
  ASSERT_EQ(error_of(TAVQueryVersionAs(server_.number(), &version_, &async_)), 14U);
  ASSERT_EQ(error_of(TAVQueryVersionAs(server_.number(), &other, &second)), 14U);
  ASSERT_EQ(TAVASyncStatus(&second, 1), 1) << "reads the first one's answer on the way";
  EXPECT_FALSE(is_readable_now(TAVGetSocket(server_.number())));
  TAVASYNC* done = nullptr;
  EXPECT_EQ(TAVASyncPop(&done, server_.number()), 1);
  EXPECT_EQ(done, &async_);
  EXPECT_EQ(version_, 1U);
}

TEST_F(Async, PoppingNothingWritesNothing) {
  TAVASYNC* done = &async_;
  EXPECT_EQ(error_of(TAVASyncPop(&done, server_.number())), 14U);
  EXPECT_EQ(done, &async_);
}

TEST_F(Async, PoppingAnUnknownServerWritesNothing) {
  TAVASYNC* done = &async_;
  EXPECT_EQ(error_of(TAVASyncPop(&done, address_of("127.0.0.9"))), 11U);
  EXPECT_EQ(done, &async_);
}

// Sends `text` to the library's socket, which has a port since its first request.
void send_to(int socket, const char* text) {
  sockaddr_in name{};
  socklen_t size = sizeof name;
  ASSERT_EQ(getsockname(socket, reinterpret_cast<sockaddr*>(&name), &size), 0);
  name.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  const int sender = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  EXPECT_GT(sendto(sender, text, 4, 0, reinterpret_cast<const sockaddr*>(&name), size), 0);
  close(sender);
}

TEST_F(AsyncWithoutAnswers, PoppingAForeignDatagramWritesNothing) {
  const int socket = TAVASyncSocket(&async_);
  send_to(socket, "junk");
  ASSERT_TRUE(is_readable(socket));
  TAVASYNC* done = nullptr;
  EXPECT_EQ(error_of(TAVASyncPop(&done, server_.number())), 14U);
  EXPECT_EQ(done, nullptr);
  EXPECT_FALSE(is_readable_now(socket)) << "the datagram is gone";
  TAVExit();
  EXPECT_EQ(error_of(TAVASyncStatus(&async_, 0)), 7U);
  ASSERT_EQ(TAVInitialize(), 1);
}

TEST_F(AsyncWithoutAnswers, PollingIsNotAnAnswerAndTheHandleStays) {
  FakeTime clock;
  EXPECT_EQ(error_of(TAVASyncStatus(&async_, 0)), 14U);
  EXPECT_NE(async_.Request, nullptr);
  EXPECT_EQ(clock.timeouts(), (std::vector<long long>{0}));
  EXPECT_EQ(error_of(TAVASyncStatus(&async_, 1)), 4U);
}

TEST_F(AsyncWithoutAnswers, WaitingGivesUpAfter300Seconds) {
  FakeTime clock;
  errno = 0;
  EXPECT_EQ(error_of(TAVASyncStatus(&async_, 1)), 4U);
  EXPECT_EQ(async_.Request, nullptr);
  EXPECT_EQ(clock.timeouts(), (std::vector<long long>{300'000'000}));
}

TEST_F(AsyncWithoutAnswers, AnInterruptedWaitStartsOver) {
  FakeTime clock;
  clock.script({[&] { clock.fail_waits(EINTR); }, [&] { clock.fail_waits(0); }, [] { errno = 0; }});
  errno = 0;
  EXPECT_EQ(error_of(TAVASyncStatus(&async_, 1)), 4U);
  EXPECT_EQ(clock.waits().size(), 3U) << "the second time-out still finds the interruption's code";
}

TEST_F(AsyncWithoutAnswers, ATimeOutThatFindsTheCodeOfAnInterruptionStartsOver) {
  FakeTime clock;
  clock.script({[] { errno = EINTR; }, [] { errno = 0; }});
  EXPECT_EQ(error_of(TAVASyncStatus(&async_, 1)), 4U);
  EXPECT_EQ(clock.timeouts(), (std::vector<long long>{300'000'000, 300'000'000}));
}

TEST_F(AsyncWithoutAnswers, AWaitThatFailsGivesUp) {
  FakeTime clock;
  clock.fail_waits(EBADF);
  EXPECT_EQ(error_of(TAVASyncStatus(&async_, 1)), 4U);
  EXPECT_EQ(async_.Request, nullptr);
}

TEST_F(AsyncWithoutAnswers, ABlockingCallGivesUpAfter300Seconds) {
  FakeTime clock;
  errno = 0;
  unsigned version = 5;
  EXPECT_EQ(error_of(TAVQueryVersion(server_.number(), &version)), 4U);
  EXPECT_EQ(version, 5U);
  EXPECT_EQ(clock.timeouts(), (std::vector<long long>{300'000'000}));
  EXPECT_EQ(error_of(TAVASyncStatus(&async_, 1)), 4U);
}

TEST_F(AsyncWithoutAnswers, AHandleOutlivesTheLibrary) {
  TAVExit();
  EXPECT_EQ(TAVASyncSocket(&async_), -1);
  EXPECT_EQ(error_of(TAVASyncStatus(&async_, 1)), 7U);
  EXPECT_EQ(async_.Request, nullptr);
  ASSERT_EQ(TAVInitialize(), 1);
}

TEST_F(Async, TheAnswerToAClosedEnumerationWritesNowhere) {
  const _TAVENTRYA filter{};
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TAVQueryStartA(&filter, 0, 0, server_.number(), 0, &query), 1);
  _TAVENTRYA entry{};
  entry.tag = 1234;
  ASSERT_EQ(error_of(TAVQueryNextAsA(query, &entry, &async_)), 14U);
  TAVQueryClose(query);
  ASSERT_TRUE(is_readable(TAVASyncSocket(&async_)));
  TAVASYNC* done = nullptr;
  EXPECT_EQ(error_of(TAVASyncPop(&done, server_.number())), 17U);
  EXPECT_EQ(done, &async_);
  EXPECT_EQ(entry.tag, 1234U);
}

}  // namespace
}  // namespace tavtest

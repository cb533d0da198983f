// Threads that are cancelled in a function that waits: the request whose handle was on their stack must leave
// the library's tables with it.

#include <pthread.h>

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

class CancelledThread : public RunningSsoTest {
 protected:
  // Runs `work` in a thread that must be cancelled in it.
  static void expect_cancelled(std::function<void()> work) {
    pthread_t thread{};
    ASSERT_EQ(pthread_create(&thread, nullptr, run, &work), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, PTHREAD_CANCELED);
  }

  // The next wait never ends but by the cancellation of its thread.
  void cancel_in_wait() {
    time.script({[this] {
      sent = server.receive();
      pthread_cancel(pthread_self());
      pthread_testcancel();
    }});
  }

  // Nothing is left in the tables, and a late reply is dropped.
  void expect_nothing_left() {
    EXPECT_EQ(requests_held(), 0u);
    if (sent.packet.empty()) return;
    server.reply_entry(sent, user_at(somewhere));
    TAVASYNC* popped = nullptr;
    EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
    EXPECT_EQ(popped, nullptr);
  }

  FakeServer::Request sent;

 private:
  static void* run(void* work) {
    (*static_cast<std::function<void()>*>(work))();
    return nullptr;
  }
};

}  // namespace

TEST_F(CancelledThread, LeavesNoVersionRequest) {
  cancel_in_wait();
  expect_cancelled([this] {
    unsigned version = 0;
    TAVQueryVersion(address(), &version);
  });
  expect_nothing_left();
}

TEST_F(CancelledThread, LeavesNoStepAndAnIdleEnumeration) {
  TAVQueryEnum* query = nullptr;
  _TAVENTRYA entry{};
  ASSERT_EQ(TAVQueryStartA(&entry, 0, 0, address(), 0, &query), 1);
  cancel_in_wait();
  expect_cancelled([&] { TAVQueryNextA(query, &entry); });
  expect_nothing_left();
  time.script({[this] { server.reply_entry(server.receive(), user_at(somewhere)); }});
  EXPECT_EQ(TAVQueryNextA(query, &entry), 1);
  TAVQueryClose(query);
}

TEST_F(CancelledThread, LeavesNoLookup) {
  cancel_in_wait();
  expect_cancelled([] {
    char user[Lookup::size];
    SSO_GetUserByAddr(somewhere, user, sizeof user, nullptr, 0);
  });
  expect_nothing_left();
}

TEST_F(CancelledThread, LeavesNoAddition) {
  cancel_in_wait();
  expect_cancelled([] {
    const _TAVENTRYA entry{};
    TAVAddEntryA(&entry);
  });
  expect_nothing_left();
}

// The thread's first cancellation point is the one in which the datagram is sent.
TEST_F(CancelledThread, LeavesNoRequestThatWasBeingSent) {
  TAVASYNC async{};
  expect_cancelled([&] {
    unsigned version = 0;
    pthread_cancel(pthread_self());
    TAVQueryVersionAs(address(), &version, &async);
  });
  EXPECT_EQ(requests_held(), 0u);
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_EQ(TAVASyncAbandon(&async), 1);
}

// Sockets are closed in destructors, and a thread that is cancelled in one of these ends the process.
TEST_F(CancelledThread, TakesTheLibraryDownFirst) {
  expect_cancelled([] {
    pthread_cancel(pthread_self());
    TAVExit();
    pthread_testcancel();
  });
  EXPECT_EQ(g_ServerList, nullptr);
  EXPECT_EQ(init_count(), 0u);
}

TEST_F(CancelledThread, MakesTheLibraryFirst) {
  TAVExit();
  expect_cancelled([] {
    pthread_cancel(pthread_self());
    TAVInitialize();
    pthread_testcancel();
  });
  EXPECT_NE(g_ServerList, nullptr);
  EXPECT_EQ(init_count(), 1u);
}

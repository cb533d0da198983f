// Initialising, exiting, and the last error of each thread.
#include <gtest/gtest.h>

#include <cstdlib>
#include <ostream>
#include <string>
#include <thread>

#include "conformance/host.h"
#include "conformance/tavsim.h"
#include "support/fake_time.h"

namespace tavtest {
namespace {

class Lifecycle : public testing::Test {
 protected:
  // Whether the library answers as one that is not initialised.
  static bool is_down() {
    unsigned long server = 0;
    return error_of(TAVEnumServers(0, &server)) == 7;
  }

  bool answers() {
    unsigned version = 0;
    return TAVQueryVersion(server_.number(), &version) == 1;
  }

  Tavsim server_;
  TestConfig config_{{server_.configured()}, "127.0.0.1"};
};

struct NotInitialised {
  const char* name;
  int (*call)();

  friend std::ostream& operator<<(std::ostream& out, const NotInitialised& each) { return out << each.name; }
};

class EveryFunction : public testing::TestWithParam<NotInitialised> {};

const unsigned long somewhere = address_of("127.0.0.1");

template <typename Entry, auto start>
int start_query() {
  Entry filter{};
  TAVQueryEnum* query = nullptr;
  return start(&filter, 0, 0, somewhere, 0, &query);
}

int query_version() {
  unsigned version = 0;
  return TAVQueryVersion(somewhere, &version);
}

int query_version_as() {
  unsigned version = 0;
  TAVASYNC async{};
  return TAVQueryVersionAs(somewhere, &version, &async);
}

int enum_servers() {
  unsigned long server = 0;
  return TAVEnumServers(0, &server);
}

int get_socket() {
  return TAVGetSocket(somewhere);
}

template <typename Entry, auto add>
int add_entry() {
  const Entry entry{};
  return add(&entry);
}

int pop() {
  TAVASYNC* done = nullptr;
  return TAVASyncPop(&done, somewhere);
}

INSTANTIATE_TEST_SUITE_P(
    WithoutLibrary, EveryFunction,
    testing::Values(NotInitialised{"TAVQueryVersion", query_version},
                    NotInitialised{"TAVQueryVersionAs", query_version_as},
                    NotInitialised{"TAVEnumServers", enum_servers},
                    NotInitialised{"TAVGetSocket", get_socket},
                    NotInitialised{"TAVQueryStartA", start_query<_TAVENTRYA, TAVQueryStartA>},
                    NotInitialised{"TAVQueryStartW", start_query<_TAVENTRYW, TAVQueryStartW>},
                    NotInitialised{"TAVAddEntryA", add_entry<_TAVENTRYA, TAVAddEntryA>},
                    NotInitialised{"TAVAddEntryW", add_entry<_TAVENTRYW, TAVAddEntryW>},
                    NotInitialised{"TAVASyncPop", pop}),
    [](const auto& each) { return std::string(each.param.name); });

TEST_P(EveryFunction, FailsWith7BeforeTheFirstInitialisation) {
  EXPECT_EQ(GetParam().call(), 0);
  EXPECT_EQ(TAVGetLastError(), 7U);
}

TEST_P(EveryFunction, FailsWith7AfterTheLastExit) {
  const TestConfig config{{{"127.0.0.1", 9, "secret"}}};
  ASSERT_EQ(TAVInitialize(), 1);
  TAVSetLastError(99);
  TAVExit();
  EXPECT_EQ(TAVGetLastError(), 99U);
  EXPECT_EQ(GetParam().call(), 0);
  EXPECT_EQ(TAVGetLastError(), 7U);
}

TEST_F(Lifecycle, TheLibraryIsUpUntilTheLastExit) {
  ASSERT_EQ(TAVInitialize(), 1);
  ASSERT_EQ(TAVInitialize(), 1);
  TAVExit();
  EXPECT_TRUE(answers());
  TAVExit();
  EXPECT_TRUE(is_down());
}

TEST_F(Lifecycle, ItMayBeInitialisedAgain) {
  for (int i = 0; i < 3; ++i) {
    ASSERT_EQ(TAVInitialize(), 1);
    EXPECT_TRUE(answers());
    TAVExit();
    EXPECT_TRUE(is_down());
  }
}

TEST_F(Lifecycle, AFurtherInitialisationDoesNotReadTheConfigurationAgain) {
  const Library library;
  config_.write_servers({{"127.0.0.9", 9, "other"}});
  ASSERT_EQ(TAVInitialize(), 1);
  unsigned long server = 0;
  EXPECT_EQ(TAVEnumServers(0, &server), 1);
  EXPECT_EQ(server, server_.number());
  EXPECT_TRUE(answers());
  TAVExit();
}

TEST_F(Lifecycle, AFailedInitialisationLeavesNothingBehindButItsReason) {
  config_.write("");
  EXPECT_EQ(TAVInitialize(), 0);
  EXPECT_EQ(TAVGetLastError(), 3U);
  EXPECT_TRUE(is_down());
  config_.write_servers({server_.configured()});
  const Library library;
  EXPECT_TRUE(answers()) << "the next one is a first one";
}

TEST_F(Lifecycle, SettingATimeOutChangesNothing) {
  const Library library;
  EXPECT_EQ(TAVSetTimeout(1), 1);
  server_.stop();
  const FakeTime clock;
  unsigned version = 0;
  EXPECT_EQ(error_of(TAVQueryVersion(server_.number(), &version)), 4U);
  EXPECT_EQ(clock.timeouts(), (std::vector<long long>{300'000'000}));
}

TEST_F(Lifecycle, EachThreadHasItsOwnLastError) {
  const Library library;
  TAVSetLastError(11);
  unsigned others = 0;
  std::thread([&others] {
    TAVSetLastError(12);
    others = TAVGetLastError();
  }).join();
  EXPECT_EQ(others, 12U);
  EXPECT_EQ(TAVGetLastError(), 11U);
}

TEST_F(Lifecycle, ThreadExitKeepsTheThreadsLastErrorAndSharesIt) {
  ASSERT_EQ(TAVInitialize(), 1);
  std::thread([] {
    TAVSetLastError(12);
    TAVThreadExit();
    EXPECT_EQ(TAVGetLastError(), 12U);
    TAVSetLastError(13);
    EXPECT_EQ(TAVGetLastError(), 13U);
  }).join();
  TAVSetLastError(11);
  TAVExit();
  EXPECT_EQ(TAVGetLastError(), 11U) << "the exiting thread's";
}

TEST_F(Lifecycle, WithoutTheLibraryThreadsShareOneLastError) {
  TAVSetLastError(21);
  unsigned others = 0;
  std::thread([&others] {
    others = TAVGetLastError();
    TAVSetLastError(22);
  }).join();
  EXPECT_EQ(others, 21U);
  EXPECT_EQ(TAVGetLastError(), 22U);
}

// The statements run in a process of their own, in which nobody has used the library yet.
class FreshProcess : public testing::Test {
 protected:
  void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

TEST_F(FreshProcess, TheLastErrorIs0) {
  EXPECT_EXIT(std::_Exit(TAVGetLastError() == 0 ? 0 : 1), testing::ExitedWithCode(0), "");
}

TEST_F(FreshProcess, ALookUpFailsWith7) {
  char text[8] = "";
  EXPECT_EXIT(std::_Exit(error_of(SSO_GetUserByAddr(1, text, 8, text, 8)) == 7 ? 0 : 1),
              testing::ExitedWithCode(0), "");
}

TEST_F(FreshProcess, ExitingSingleSignOnDoesNothing) {
  EXPECT_EXIT((SSO_Exit(), std::_Exit(TAVGetLastError() == 0 ? 0 : 1)), testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace tavtest

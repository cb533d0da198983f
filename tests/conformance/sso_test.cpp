// Single sign-on as a gateway uses it: look-ups that wait, and look-ups that run in the host's event loop.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "conformance/event_loop.h"
#include "conformance/host.h"
#include "conformance/tavsim.h"
#include "support/fake_time.h"

namespace tavtest {
namespace {

const unsigned long server = address_of("127.0.0.1");

class Sso : public testing::Test {
 protected:
  Sso() { config_.write_servers({sim_.configured()}, "127.0.0.1"); }
  ~Sso() override { SSO_Exit(); }

  void init() { ASSERT_STREQ(SSO_Init(), "Norvel TAV/TIZ"); }

  Tavsim sim_{TavsimOptions{"127.0.0.1", "secret", sample_entries}};
  TestConfig config_;
  EventLoop loop_;
};

/// A text buffer of a length, with marks behind and in it.
struct Buffer {
  explicit Buffer(unsigned size) : bytes(size + 1, '#'), length(size) {}
  char* data() { return bytes.data(); }

  std::string bytes;
  unsigned length;
};

/// A look-up with its own buffers, and how it ended.
struct LookUp {
  explicit LookUp(unsigned long who) : address(who) {}

  void start() {
    SSO_GetUserByAddrAsync(address, user.data(), user.length, second.data(), second.length, told, this);
  }

  static void told(int success, void* cookie) {
    auto& self = *static_cast<LookUp*>(cookie);
    ++self.ends;
    self.success = success;
    self.error = SSO_GetLastError();
    if (self.then) self.then();
  }

  unsigned long address;
  Buffer user{64};
  Buffer second{64};
  int ends = 0;
  int success = -1;
  unsigned error = 0;
  std::function<void()> then{};
};

struct Answer {
  const char* name;
  const char* address;
  const char* user;
  const char* second;

  friend std::ostream& operator<<(std::ostream& out, const Answer& each) { return out << each.name; }
};

class Answers : public Sso, public testing::WithParamInterface<Answer> {};

INSTANTIATE_TEST_SUITE_P(All, Answers,
                         testing::Values(Answer{"AUser", "10.1.0.11", "ANNA KVIST", "ENGINEERING"},
                                         Answer{"AUserWithoutSecondText", "10.1.0.13", "FINN O.LEARY", ""},
                                         Answer{"AnEntryThatSaysNobody", "10.1.0.14", "", ""},
                                         Answer{"NoEntry", "10.1.0.99", "", ""}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_P(Answers, ReachAWaitingCaller) {
  init();
  LookUp look_up(user_address(GetParam().address));
  EXPECT_EQ(SSO_GetUserByAddr(look_up.address, look_up.user.data(), 64, look_up.second.data(), 64), 1);
  EXPECT_STREQ(look_up.user.data(), GetParam().user);
  EXPECT_STREQ(look_up.second.data(), GetParam().second);
}

TEST_P(Answers, ReachACallback) {
  init();
  LookUp look_up(user_address(GetParam().address));
  look_up.start();
  EXPECT_EQ(look_up.ends, 0) << "it returns at once";
  ASSERT_TRUE(loop_.run_until([&] { return look_up.ends > 0; }));
  EXPECT_EQ(look_up.ends, 1);
  EXPECT_EQ(look_up.success, 1);
  EXPECT_STREQ(look_up.user.data(), GetParam().user);
  EXPECT_STREQ(look_up.second.data(), GetParam().second);
}

TEST_F(Sso, ATextThatFillsItsBufferIsLeftWithoutATerminator) {
  init();
  Buffer user(10);  // "ANNA KVIST" has 10 characters
  Buffer second(6);
  EXPECT_EQ(SSO_GetUserByAddr(user_address("10.1.0.11"), user.data(), 10, second.data(), 6), 1);
  EXPECT_EQ(user.bytes, "ANNA KVIST#");
  EXPECT_EQ(second.bytes, "ENGINE#");
}

TEST_F(Sso, ABufferIsFilledWithZerosToItsEndAndNoFurther) {
  init();
  Buffer user(12);
  Buffer second(13);
  EXPECT_EQ(SSO_GetUserByAddr(user_address("10.1.0.11"), user.data(), 12, second.data(), 13), 1);
  EXPECT_EQ(user.bytes, std::string("ANNA KVIST\0\0#", 13));
  EXPECT_EQ(second.bytes, std::string("ENGINEERING\0\0#", 14));
}

TEST_F(Sso, BuffersMayBeMissing) {
  init();
  EXPECT_EQ(SSO_GetUserByAddr(user_address("10.1.0.11"), nullptr, 0, nullptr, 0), 1);
  EXPECT_EQ(SSO_GetUserByAddr(user_address("10.1.0.99"), nullptr, 0, nullptr, 0), 1);
  for (const char* address : {"10.1.0.11", "10.1.0.14", "10.1.0.99"}) {
    LookUp look_up(0);
    SSO_GetUserByAddrAsync(user_address(address), nullptr, 0, nullptr, 0, LookUp::told, &look_up);
    ASSERT_TRUE(loop_.run_until([&] { return look_up.ends > 0; }));
    EXPECT_EQ(look_up.success, 1);
  }
}

TEST_F(Sso, AHundredLookUpsRunAtOnce) {
  init();
  const char* const addresses[] = {"10.1.0.11", "10.1.0.12", "10.1.0.13", "10.1.0.14", "10.1.0.99"};
  const std::string users[] = {"ANNA KVIST", "BRAM OSEI", "FINN O.LEARY", "", ""};
  std::vector<std::unique_ptr<LookUp>> all;
  for (std::size_t i = 0; i < 100; ++i) {
    all.push_back(std::make_unique<LookUp>(user_address(addresses[i % 5])));
    all.back()->start();
  }
  const auto ended = [](const auto& each) { return each->ends == 1; };
  ASSERT_TRUE(loop_.run_until([&] { return std::all_of(all.begin(), all.end(), ended); }));
  for (std::size_t i = 0; i < 100; ++i) {
    EXPECT_EQ(all[i]->success, 1);
    EXPECT_STREQ(all[i]->user.data(), users[i % 5].c_str());
  }
  loop_.run_once();
  EXPECT_TRUE(std::all_of(all.begin(), all.end(), ended)) << "each ends once";
}

TEST_F(Sso, AWaitingLookUpFinishesThoseInTheLoopThatWereAnsweredMeanwhile) {
  init();
  LookUp in_loop(user_address("10.1.0.11"));
  in_loop.start();
  char user[64];
  EXPECT_EQ(SSO_GetUserByAddr(user_address("10.1.0.12"), user, sizeof user, nullptr, 0), 1);
  EXPECT_STREQ(user, "BRAM OSEI");
  EXPECT_EQ(in_loop.ends, 1);
  EXPECT_STREQ(in_loop.user.data(), "ANNA KVIST");
}

TEST_F(Sso, ACallbackMayStartFurtherLookUps) {
  init();
  LookUp first(user_address("10.1.0.11"));
  LookUp second(user_address("10.1.0.12"));
  LookUp third(user_address("10.1.0.13"));
  first.then = [&] { second.start(); };
  second.then = [&] { EXPECT_EQ(SSO_GetUserByAddr(third.address, third.user.data(), 64, nullptr, 0), 1); };
  first.start();
  ASSERT_TRUE(loop_.run_until([&] { return second.ends > 0; }));
  EXPECT_STREQ(second.user.data(), "BRAM OSEI");
  EXPECT_STREQ(third.user.data(), "FINN O.LEARY");
}

TEST_F(Sso, TheServersSocketIsInTheLoopFromInitToExit) {
  init();
  const int socket = TAVGetSocket(server);
  EXPECT_EQ(loop_.added(), (std::vector<int>{socket}));
  EXPECT_TRUE(loop_.removed().empty());
  SSO_Exit();
  EXPECT_EQ(loop_.removed(), (std::vector<int>{socket}));
  SSO_Exit();
  EXPECT_EQ(loop_.removed().size(), 1U) << "a second exit does nothing";
}

TEST_F(Sso, ExitEndsLookUpsWithoutTheirCallback) {
  init();
  LookUp look_up(user_address("10.1.0.11"));
  look_up.start();
  SSO_Exit();
  init();
  EXPECT_EQ(SSO_GetUserByAddr(user_address("10.1.0.12"), nullptr, 0, nullptr, 0), 1);
  EXPECT_EQ(look_up.ends, 0);
}

TEST_F(Sso, AfterExitALookUpFailsWithoutTouchingTheLastError) {
  init();
  SSO_Exit();
  TAVSetLastError(99);
  char user[8] = "";
  EXPECT_EQ(SSO_GetUserByAddr(user_address("10.1.0.11"), user, sizeof user, nullptr, 0), 0);
  EXPECT_EQ(SSO_GetLastError(), 99U);
}

TEST_F(Sso, AfterExitALookUpInTheLoopIsToldAtOnce) {
  init();
  SSO_Exit();
  LookUp look_up(user_address("10.1.0.11"));
  look_up.start();
  EXPECT_EQ(look_up.ends, 1);
  EXPECT_EQ(look_up.success, 0);
  EXPECT_EQ(look_up.error, 7U);
}

TEST_F(Sso, AServerThatIsDownFailsAWaitingLookUpWith4) {
  init();
  sim_.stop();
  const FakeTime clock;
  EXPECT_EQ(error_of(SSO_GetUserByAddr(user_address("10.1.0.11"), nullptr, 0, nullptr, 0)), 4U);
  EXPECT_EQ(SSO_GetLastError(), 4U);
}

TEST_F(Sso, AGatewayGivenAsANumberIsItsAddress) {
  config_.write_lines({"[tavlib\\Addresses\\]", "gwtav=" + std::to_string(server),
                       "[tavlib\\Addresses\\127.0.0.1\\]",
                       "Endpoint=" + std::to_string(sim_.configured().port), "Passphrase=\"secret\""});
  init();
  char user[64];
  EXPECT_EQ(SSO_GetUserByAddr(user_address("10.1.0.11"), user, sizeof user, nullptr, 0), 1);
  EXPECT_STREQ(user, "ANNA KVIST");
}

TEST_F(Sso, AGatewayThatIsNotConfiguredHasSocketMinus1AndFailsWith11) {
  config_.write_servers({sim_.configured()}, "127.0.0.9");
  init();
  EXPECT_EQ(loop_.added(), (std::vector<int>{-1}));
  EXPECT_EQ(error_of(SSO_GetUserByAddr(user_address("10.1.0.11"), nullptr, 0, nullptr, 0)), 11U);
  LookUp look_up(user_address("10.1.0.11"));
  look_up.start();
  EXPECT_EQ(look_up.ends, 1);
  EXPECT_EQ(look_up.success, 0);
  EXPECT_EQ(look_up.error, 11U);
}

struct BadGateway {
  const char* name;
  const char* line;

  friend std::ostream& operator<<(std::ostream& out, const BadGateway& each) { return out << each.name; }
};

class BadGateways : public Sso, public testing::WithParamInterface<BadGateway> {};

INSTANTIATE_TEST_SUITE_P(All, BadGateways,
                         testing::Values(BadGateway{"Missing", "other=\"127.0.0.1\""},
                                         BadGateway{"NoAddress", "gwtav=\"gateway.example\""},
                                         BadGateway{"Empty", "gwtav="},
                                         BadGateway{"AllOnes", "gwtav=\"255.255.255.255\""},
                                         BadGateway{"List", "gwtav='127.0.0.1'"},
                                         BadGateway{"Bytes", "gwtav=$7F000001"},
                                         BadGateway{"Unquoted", "gwtav=localhost"}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_P(BadGateways, FailInitWith3AndLeaveTheLibraryInitialised) {
  config_.write_lines({"[tavlib\\Addresses\\]", GetParam().line, "[tavlib\\Addresses\\127.0.0.1\\]",
                       "Endpoint=" + std::to_string(sim_.configured().port), "Passphrase=\"secret\""});
  EXPECT_EQ(SSO_Init(), nullptr);
  EXPECT_EQ(SSO_GetLastError(), 3U);
  EXPECT_TRUE(loop_.added().empty());
  unsigned version = 0;
  EXPECT_EQ(TAVQueryVersion(server, &version), 1);
  SSO_Exit();
  EXPECT_EQ(TAVQueryVersion(server, &version), 1) << "that exit had nothing to undo";
  TAVExit();
}

TEST_F(Sso, AnUninitialisableLibraryFailsInitWithItsReason) {
  config_.write("");
  EXPECT_EQ(SSO_Init(), nullptr);
  EXPECT_EQ(SSO_GetLastError(), 3U);
  unsigned version = 0;
  EXPECT_EQ(error_of(TAVQueryVersion(server, &version)), 7U);
}

TEST_F(Sso, AHostMayRunALookUpObjectItself) {
  init();
  LookUp look_up(user_address("10.1.0.11"));
  auto context = std::make_unique<SSO_TAVContext>(look_up.address, look_up.user.data(), 64,
                                                  look_up.second.data(), 64, LookUp::told, &look_up);
  context->Go();
  ASSERT_TRUE(is_readable(TAVGetSocket(server)));
  TAVASYNC* done = nullptr;
  const int result = TAVASyncPop(&done, server);
  ASSERT_EQ(done->Context, context.get());
  EXPECT_EQ(context->Finish(0, 14), 0) << "still pending";
  EXPECT_EQ(look_up.ends, 0);
  EXPECT_EQ(context->Finish(result, SSO_GetLastError()), 1);
  EXPECT_EQ(look_up.ends, 1);
  EXPECT_STREQ(look_up.user.data(), "ANNA KVIST");
}

TEST_F(Sso, ALookUpObjectThrowsWhenItCannotBegin) {
  try {
    const SSO_TAVContext context(1, nullptr, 0, nullptr, 0, LookUp::told, nullptr);
    FAIL() << "there is no library";
  } catch (const tavexception& failure) {
    EXPECT_EQ(failure.code, 7U);
  }
}

TEST_F(Sso, ALookUpObjectThrowsWhenItCannotGo) {
  config_.write_servers({sim_.configured()}, "127.0.0.9");
  init();
  SSO_TAVContext context(1, nullptr, 0, nullptr, 0, LookUp::told, nullptr);
  try {
    context.Go();
    FAIL() << "the gateway is not configured";
  } catch (const tavexception& failure) {
    EXPECT_EQ(failure.code, 11U);
  }
}

}  // namespace
}  // namespace tavtest

// What a host may do inside a look-up's callback, against what made the callback run and through which call.

#include <arpa/inet.h>

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

constexpr unsigned long first_address = 0x0a000001;   // of the look-up whose callback acts
constexpr unsigned long second_address = 0x0a000002;  // of one that is in flight meanwhile
constexpr unsigned long outer_address = 0x0a000003;   // of the blocking look-up that reads the first's answer
constexpr unsigned long nested_address = 0x0a000004;  // of those that the callback starts

class SsoReentrancy;

// What makes the callback run.
struct Trigger {
  const char* name;
  void (*reply)(FakeServer&, const FakeServer::Request&);  // null for a look-up that cannot start
  int success;
  unsigned last_error;
};

const Trigger triggers[] = {
    {"Answer", [](FakeServer& s, const FakeServer::Request& r) { s.reply_entry(r, {.user = u"ALICE"}); }, 1,
     0},
    {"NoEntry", [](FakeServer& s, const FakeServer::Request& r) { s.reply_no_entry(r); }, 1, 0},
    {"ErrorReply", [](FakeServer& s, const FakeServer::Request& r) { s.reply_error(r); }, 0, 2},
    {"WrongDigest", [](FakeServer& s, const FakeServer::Request& r) { s.reply_bad_digest(r); }, 0, 13},
    {"FailedStart", nullptr, 0, 11},
};

// What the callback does, and whether the look-ups in flight survive it.
struct Action {
  const char* name;
  void (SsoReentrancy::*act)();
  bool others_survive;
};

// Through which call the answer is read.
struct Road {
  const char* name;
  bool blocking;
};

using Case = std::tuple<Trigger, Action, Road>;

class SsoReentrancy : public RunningSsoTest, public testing::WithParamInterface<Case> {
 public:
  void nothing() {}

  void look_up_blocking() {
    std::array<char, 8> user{};
    EXPECT_EQ(SSO_GetUserByAddr(nested_address, user.data(), 8, nullptr, 0), 1);
    EXPECT_STREQ(user.data(), "NESTED");
  }

  void start_another() {
    nested.start(nested_address);
    nested_request = server.receive();
  }

  void run_the_ready_callback() { EXPECT_EQ(loop.run(9), 9); }

  void exit_layer() { SSO_Exit(); }

  void exit_library() { TAVExit(); }

  void exit_and_start_again() {
    SSO_Exit();
    EXPECT_NE(SSO_Init(), nullptr);
  }

  void close_an_enumeration() { TAVQueryClose(std::exchange(query, nullptr)); }

  void finish_another() {
    server.reply_entry(second_request, {.user = u"SECOND"});
    loop.run();
    EXPECT_EQ(second.outcomes, std::vector<int>{1});
  }

 protected:
  SsoReentrancy() {
    // Waits (not polls) are those of blocking look-ups: the outer one first has the first look-up answered.
    time.on_wait([this](int, timeval timeout) {
      if (timeout.tv_sec == 0) return;
      if (auto due = std::exchange(due_, nullptr)) return due();
      const auto request = server.receive();
      server.reply_entry(request, {.user = asked(request) == nested_address ? u"NESTED" : u"OUTER"});
    });
    second.start(second_address);
    second_request = server.receive();
    first.then = [this] {
      g_SsoServer = address();
      (this->*action().act)();
    };
  }
  ~SsoReentrancy() override {
    TAVQueryClose(query);
    if (async.Request != nullptr) TAVASyncStatus(&async, 0);
  }

  const Trigger& trigger() const { return std::get<0>(GetParam()); }
  const Action& action() const { return std::get<1>(GetParam()); }

  // Makes the first look-up end.
  void pull() {
    if (trigger().reply == nullptr) {
      g_SsoServer = inet_addr("127.9.9.9");
      first.start(first_address);
      return;
    }
    first.start(first_address);
    const auto request = server.receive();
    if (!std::get<2>(GetParam()).blocking) {
      trigger().reply(server, request);
      EXPECT_EQ(loop.run(7), 7);
      return;
    }
    due_ = [this, request] { trigger().reply(server, request); };
    std::array<char, 8> user{};
    EXPECT_EQ(SSO_GetUserByAddr(outer_address, user.data(), 8, nullptr, 0), 1);
    EXPECT_STREQ(user.data(), "OUTER");
  }

  // The look-up in flight ends as it should: once with its answer, or silently.
  void expect_second_to_end() {
    if (!action().others_survive) {
      EXPECT_TRUE(second.outcomes.empty());
      return;
    }
    server.reply_entry(second_request, {.user = u"SECOND"});
    loop.run_ready();
    EXPECT_EQ(second.outcomes, std::vector<int>{1});
    EXPECT_EQ(second.user_text(), "SECOND");
  }

  Lookup first;
  Lookup second;
  Lookup nested;
  FakeServer::Request second_request;
  FakeServer::Request nested_request;
  TAVQueryEnum* query = nullptr;
  _TAVENTRYA entry{};
  TAVASYNC async{};

 private:
  std::function<void()> due_;
};

using A = SsoReentrancy;

const Action actions[] = {
    {"Nothing", &A::nothing, true},
    {"BlockingLookup", &A::look_up_blocking, true},
    {"AsynchronousLookup", &A::start_another, true},
    {"ReadyCallback", &A::run_the_ready_callback, true},
    {"FinishAnother", &A::finish_another, true},
    {"LayersExit", &A::exit_layer, false},
    {"LibrarysExit", &A::exit_library, false},
    {"ExitAndInit", &A::exit_and_start_again, false},
    {"CloseEnumeration", &A::close_an_enumeration, true},
};

const Road roads[] = {{"Loop", false}, {"BlockingLookup", true}};

}  // namespace

TEST_P(SsoReentrancy, EachLookupEndsOnce) {
  pull();
  EXPECT_EQ(first.outcomes, std::vector<int>{trigger().success});
  if (trigger().success == 0) {
    EXPECT_EQ(first.last_error, trigger().last_error);
  }
  expect_second_to_end();
  EXPECT_EQ(first.outcomes.size(), 1u);
}

TEST_P(SsoReentrancy, ALookupStartedInTheCallbackEndsOnce) {
  pull();
  if (nested_request.packet.empty()) {
    EXPECT_TRUE(nested.outcomes.empty());
    return;
  }
  EXPECT_TRUE(nested.outcomes.empty());
  server.reply_entry(nested_request, {.user = u"NESTED"});
  loop.run_ready();
  EXPECT_EQ(nested.outcomes, std::vector<int>{1});
  EXPECT_EQ(nested.user_text(), "NESTED");
}

TEST_P(SsoReentrancy, AnEnumerationClosedInTheCallbackIsNotWrittenTo) {
  _TAVENTRYA filter{};
  ASSERT_EQ(TAVQueryStartA(&filter, 0, 0, address(), 0, &query), 1);
  ASSERT_TRUE(failed_with(14, TAVQueryNextAsA(query, &entry, &async)));
  const auto step = server.receive();
  pull();
  const bool closed = query == nullptr;
  server.reply_entry(step, {.user = u"STEP"});
  const int result = TAVASyncStatus(&async, 0);
  const bool alive = action().others_survive && !closed;
  EXPECT_EQ(result, alive ? 1 : 0);
  EXPECT_EQ(entry.user != nullptr, alive);
}

TEST_P(SsoReentrancy, TheLayerWorksAfterwards) {
  pull();
  SSO_Exit();
  while (init_count() != 0 && g_ServerList != nullptr)
    TAVExit();
  g_InitCount = 0;
  ASSERT_NE(SSO_Init(), nullptr);
  look_up_blocking();
}

namespace {

std::string case_name(const testing::TestParamInfo<Case>& test) {
  return std::string(std::get<0>(test.param).name) + "_" + std::get<1>(test.param).name + "_" +
         std::get<2>(test.param).name;
}

}  // namespace

INSTANTIATE_TEST_SUITE_P(All, SsoReentrancy,
                         testing::Combine(testing::ValuesIn(triggers), testing::ValuesIn(actions),
                                          testing::ValuesIn(roads)),
                         case_name);

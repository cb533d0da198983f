// What a host does inside a look-up's callback, against what ended the look-up and which call told it.

#include <arpa/inet.h>

#include "api/host_actions.h"

using namespace tavtest;

namespace {

class SsoCallback;

// How the look-up ends, and the code that it is told.
struct LookupEnd {
  std::string name;
  unsigned code;
  std::function<void(SsoCallback&)> bring_about;
};

void PrintTo(const LookupEnd& end, std::ostream* out) {
  *out << end.name;
}

using Cell = std::tuple<LookupEnd, HostAction>;

class SsoCallback : public RunningSsoTest, public testing::WithParamInterface<Cell> {
 public:
  // The loop's ready callback reads the answer.
  void run_ready(Reply reply) {
    start_all();
    own.reply(server, reply);
    EXPECT_EQ(loop.run(7), 7);
  }

  // The loop's ready callback finds an answer that a pop has read.
  void run_ready_after_pop(Reply reply) {
    start_all();
    let_a_pop_read(reply);
    EXPECT_EQ(loop.run(7), 7);
  }

  // A blocking look-up reads the answer before its own.
  void look_up_blocking(Reply reply) {
    start_all();
    others.due = {[this, reply] { own.reply(server, reply); }};
    expect_blocking_lookup(8);
  }

  // SSO_ExpireLookups finds an answer that a pop has read.
  void expire_after_pop(Reply reply) {
    start_all();
    let_a_pop_read(reply);
    expired = SSO_ExpireLookups(1'000'000);
  }

  void expire() {
    own.start(server);
    time.advance(std::chrono::seconds(2));
    others.start();
    expired = SSO_ExpireLookups(1000);
  }

  // The bystanders' look-up is due, too.
  void expire_both() {
    start_all();
    others.lookup.ends_with = 4;
    time.advance(std::chrono::seconds(2));
    expired = SSO_ExpireLookups(1000);
  }

  void fail_to_start() { start_with("127.9.9.9"); }

  // The look-up has its place among the requests when sending it fails.
  void fail_to_send() {
    SSO_Exit();
    restore_load_state();
    configure_unreachable();
    EXPECT_NE(SSO_Init(), nullptr);
    others.taken = 1;
    start_with(unreachable);
  }

 protected:
  SsoCallback() {
    own.lookup.then = [this] {
      g_SsoServer = address();
      std::get<1>(GetParam()).act(others);
    };
  }

  // After it the layer works as on the first day, in the same process.
  void expect_usable() {
    SSO_Exit();
    restore_load_state();
    ASSERT_NE(SSO_Init(), nullptr);
    expect_blocking_lookup(9);
  }

  LookupInFlight own{1};
  Bystanders others{server, time, loop};
  unsigned expired = 0;

 private:
  void start_all() {
    own.start(server);
    others.start();
  }

  void start_with(const char* gateway) {
    others.start();
    g_SsoServer = inet_addr(gateway);
    own.lookup.start(own.number());
  }

  void let_a_pop_read(Reply reply) {
    own.reply(server, reply);
    EXPECT_FALSE(pop_and_tell(address()));
    EXPECT_TRUE(own.lookup.outcomes.empty());
  }
};

struct Road {
  const char* name;
  void (SsoCallback::*take)(Reply);
};

std::vector<LookupEnd> lookup_ends() {
  std::vector<LookupEnd> ends = {{"FailedStart", 11, &SsoCallback::fail_to_start},
                                 {"FailedSend", 12, &SsoCallback::fail_to_send},
                                 {"Expiry", 4, &SsoCallback::expire},
                                 {"ExpiryOfBoth", 4, &SsoCallback::expire_both}};
  for (const auto& [reply_name, reply] : {std::pair{"Answer", Reply::answer},
                                          {"NoEntry", Reply::no_entry},
                                          {"ErrorReply", Reply::error},
                                          {"WrongDigest", Reply::wrong_digest}}) {
    for (const Road& road : {Road{"Loop", &SsoCallback::run_ready},
                             {"LoopAfterPop", &SsoCallback::run_ready_after_pop},
                             {"BlockingLookup", &SsoCallback::look_up_blocking},
                             {"ExpireAfterPop", &SsoCallback::expire_after_pop}}) {
      ends.push_back({std::string(reply_name) + "By" + road.name, code_of(reply),
                      [take = road.take, how = reply](SsoCallback& test) { (test.*take)(how); }});
    }
  }
  return ends;
}

std::string cell_name(const testing::TestParamInfo<Cell>& cell) {
  return std::get<0>(cell.param).name + "_" + std::get<1>(cell.param).name;
}

}  // namespace

TEST_P(SsoCallback, TellsEveryOwnerOnce) {
  const LookupEnd& end = std::get<0>(GetParam());
  end.bring_about(*this);
  own.ends_with = end.code;
  own.expect_told();
  own.reply(server);  // late, or once more
  others.expect_told();
  own.expect_told();
  EXPECT_EQ(expired + others.expired,
            (own.ends_with == 4u ? 1u : 0u) + (others.lookup.ends_with == 4u ? 1u : 0u));
  expect_usable();
}

INSTANTIATE_TEST_SUITE_P(Matrix, SsoCallback,
                         testing::Combine(testing::ValuesIn(lookup_ends()),
                                          testing::ValuesIn(host_actions())),
                         cell_name);

// A look-up that fails because the layer is down.
TEST_F(SsoTest, ACallbackMayStartTheLayerAndLookUpAgain) {
  LookupInFlight own(1);
  LookupInFlight again(2);
  own.ends_with = 7;
  own.lookup.then = [&] {
    EXPECT_NE(SSO_Init(), nullptr);
    again.start(server);
  };
  own.lookup.start(own.number());
  own.expect_told();
  again.reply(server);
  EXPECT_EQ(loop.run_ready(), 1);
  again.expect_told();
  SSO_Exit();
}

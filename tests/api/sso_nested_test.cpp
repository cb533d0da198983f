// Callbacks of look-ups in which the host looks up, or gives up, once more: the stack must not grow with the
// look-ups in flight, and each of them ends once.

#include <algorithm>
#include <array>
#include <deque>
#include <memory>
#include <optional>
#include <stdexcept>
#include <utility>

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

constexpr std::size_t count = 100;

class SsoNested : public RunningSsoTest {
 protected:
  SsoNested() {
    for (std::size_t i = 0; i < count; ++i) {
      lookups[i].then = [this, i] { in_callback(i); };
      lookups[i].start(somewhere + i);
      sent.push_back(server.receive());
    }
  }

  // Each wait gets one of the look-ups' answers, and then its own.
  void serve_waits() {
    time.on_wait([this](int, timeval) {
      if (!sent.empty() && !owed_) {
        owed_ = server.receive();
        answer_next();
      } else {
        const auto own = owed_ ? *owed_ : server.receive();
        owed_.reset();
        server.reply_entry(own, user_at(asked(own)));
      }
    });
  }

  void answer_next() {
    server.reply_entry(sent.front(), user_at(asked(sent.front())));
    sent.pop_front();
  }

  void look_up() const {
    std::array<char, Lookup::size> user{};
    EXPECT_EQ(SSO_GetUserByAddr(somewhere, user.data(), Lookup::size, nullptr, 0), 1);
    EXPECT_STREQ(user.data(), "ALICE");
  }

  void expect_each_ended_once_with(int outcome) const {
    for (const Lookup& lookup : lookups)
      EXPECT_EQ(lookup.outcomes, std::vector<int>{outcome});
  }

  std::array<Lookup, count> lookups;
  std::deque<FakeServer::Request> sent;  // not answered yet
  std::function<void()> action;          // what the host does in each callback
  bool first_only = false;               // whether it does so in the first callback alone
  std::vector<std::size_t> order;        // in which the callbacks came
  int deepest = 0;

 private:
  void in_callback(std::size_t number) {
    order.push_back(number);
    deepest = std::max(deepest, ++depth_);
    const auto now = first_only ? std::exchange(action, [] {}) : action;
    now();
    --depth_;
  }

  int depth_ = 0;
  std::optional<FakeServer::Request> owed_;
};

}  // namespace

TEST_F(SsoNested, LookingUpInEachCallbackTakesOneLevelOfStackFromTheLoop) {
  serve_waits();
  action = [this] { look_up(); };
  answer_next();
  EXPECT_EQ(loop.run_ready(), 1);
  EXPECT_EQ(deepest, 1);
  expect_each_ended_once_with(1);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(SsoNested, LookingUpInEachCallbackTakesOneLevelOfStackFromALookup) {
  serve_waits();
  action = [this] { look_up(); };
  look_up();
  EXPECT_EQ(deepest, 1);
  expect_each_ended_once_with(1);
}

TEST_F(SsoNested, LookingUpInEachCallbackTakesOneLevelOfStackFromAnExpiry) {
  serve_waits();
  action = [this] { look_up(); };
  time.advance(std::chrono::seconds(2));
  sent.pop_front();
  EXPECT_EQ(SSO_ExpireLookups(1000), 1u);  // the others are answered in its callback, and in theirs
  EXPECT_EQ(deepest, 1);
  EXPECT_EQ(lookups[0].outcomes, std::vector<int>{0});
  for (std::size_t i = 1; i < count; ++i)
    EXPECT_EQ(lookups[i].outcomes.size(), 1u) << i;
}

TEST_F(SsoNested, ExpiringInACallbackEndsTheOthersOnceThatHasReturned) {
  unsigned expired = 0;
  first_only = true;
  action = [&] {
    expired += SSO_ExpireLookups(1000);
    EXPECT_EQ(order.size(), 1u);
  };
  time.advance(std::chrono::seconds(2));
  answer_next();
  EXPECT_EQ(loop.run_ready(), 1);
  EXPECT_EQ(expired, count - 1);
  EXPECT_EQ(deepest, 1);
  EXPECT_EQ(lookups[0].outcomes, std::vector<int>{1});
  for (std::size_t i = 1; i < count; ++i) {
    EXPECT_EQ(lookups[i].outcomes, std::vector<int>{0}) << i;
    EXPECT_EQ(lookups[i].last_error, 4u) << i;
  }
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(SsoNested, ALateAnswerToALookupThatACallbackExpiredIsDropped) {
  first_only = true;
  action = [this] {
    EXPECT_EQ(SSO_ExpireLookups(1000), count - 1);
    while (!sent.empty())
      answer_next();
    TAVASYNC* popped = nullptr;
    EXPECT_TRUE(failed_with(14, TAVASyncPop(&popped, address())));
    EXPECT_EQ(popped, nullptr);
  };
  time.advance(std::chrono::seconds(2));
  answer_next();
  loop.run_ready();
  EXPECT_EQ(lookups[1].outcomes, std::vector<int>{0});
  EXPECT_EQ(lookups[1].user, Lookup::filled());
  EXPECT_EQ(order.size(), count);
}

TEST_F(SsoNested, LookupsThatACallbackExpiredEndWithoutTheirsWhenItExitsTheLayer) {
  first_only = true;
  action = [] {
    EXPECT_EQ(SSO_ExpireLookups(1000), count - 1);
    SSO_Exit();
  };
  time.advance(std::chrono::seconds(2));
  answer_next();
  loop.run();
  EXPECT_EQ(order, std::vector<std::size_t>{0});
}

// The next outermost call goes on to the look-ups that are left.
TEST_F(SsoNested, ACallbackThatThrowsLeavesTheLayerUsable) {
  first_only = true;
  action = [] { throw std::runtime_error("from the host"); };
  answer_next();
  EXPECT_THROW(loop.run(), std::runtime_error);
  EXPECT_EQ(lookups[0].outcomes, std::vector<int>{1});
  time.advance(std::chrono::seconds(2));
  EXPECT_EQ(SSO_ExpireLookups(1000), count - 1);
  EXPECT_EQ(order.size(), count);
}

// It is the host's to delete, as one that was in flight at the exit.
TEST_F(SsoNested, AHostsOwnLookupThatACallbackExpiredIsLeftToTheHostWhenItExitsTheLayer) {
  Lookup own;
  auto context = std::make_unique<SSO_TAVContext>(somewhere, own.user.data(), Lookup::size, own.second.data(),
                                                  Lookup::size, Lookup::ended, &own);
  context->Go();
  server.receive();
  first_only = true;
  action = [] {
    EXPECT_EQ(SSO_ExpireLookups(1000), count);
    SSO_Exit();
  };
  time.advance(std::chrono::seconds(2));
  answer_next();
  loop.run();
  EXPECT_TRUE(own.outcomes.empty());
  context.reset();
  EXPECT_TRUE(own.outcomes.empty());
}

// The callback takes the layer to another gateway. There it looks up, waiting, and reads another look-up's answer.
TEST_F(RunningSsoTest, LookupsOfAGatewayThatACallbackWentToEndAfterIt) {
  FakeServer other("other", "127.0.0.2");
  Lookup first;
  Lookup second;
  first.then = [&] {
    SSO_Exit();
    config.write_servers({other.configured()}, "127.0.0.2");
    ASSERT_NE(SSO_Init(), nullptr);
    second.start(somewhere);
    const auto sent = other.receive();
    time.script({[&] { other.reply_entry(sent, user_at(somewhere)); },
                 [&] { other.reply_entry(other.receive(), user_at(somewhere)); }});
    EXPECT_EQ(SSO_GetUserByAddr(somewhere, nullptr, 0, nullptr, 0), 1);
    EXPECT_TRUE(second.outcomes.empty());
  };
  first.start(somewhere);
  server.reply_entry(server.receive(), user_at(somewhere));
  loop.run();
  EXPECT_EQ(first.outcomes, std::vector<int>{1});
  EXPECT_EQ(second.outcomes, std::vector<int>{1});
}

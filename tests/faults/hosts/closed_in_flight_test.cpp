// TAVQueryClose while a step is in flight, in every order with what else may happen: the reply arrives late,
// the host pops, the host asks for the status, the host exits.

#include <algorithm>
#include <array>
#include <ostream>

#include "faults/hosts/host_test.h"

using namespace tavtest;

namespace {

enum class Event { close, reply, pop, status, exit };
using Order = std::array<Event, 5>;

// How the server replies, and the code that tells of it while the enumeration is open.
struct Reply {
  const char* name;
  void (*send)(AnsweringServer&, const FakeServer::Request&);
  unsigned open_code;
  unsigned closed_code;  // and when it was closed before the reply was read
};

void PrintTo(const Reply& reply, std::ostream* out) {
  *out << reply.name;
}

const Reply replies[] = {
    {"Entry", [](AnsweringServer& s, const FakeServer::Request& r) { s.answer(r); }, 0, 17},
    {"NoEntry", [](AnsweringServer& s, const FakeServer::Request& r) { s.reply_no_entry(r); }, 6, 17},
    {"Error", [](AnsweringServer& s, const FakeServer::Request& r) { s.reply_error(r); }, 2, 2},
    {"WrongDigest", [](AnsweringServer& s, const FakeServer::Request& r) { s.reply_bad_digest(r); }, 13, 13},
};

std::string text_of(const Order& order) {
  constexpr const char* names[] = {"close", "reply", "pop", "status", "exit"};
  std::string text;
  for (const Event each : order)
    text += std::string(" ") + names[static_cast<int>(each)];
  return text;
}

// One step of an enumeration, and what is known of it.
template <typename Record, auto start, auto next>
class Step {
 public:
  Step(AnsweringServer& server, const Reply& reply) : server_(server), reply_(reply) {
    const Record everything{};
    EXPECT_EQ(TAVInitialize(), 1);
    EXPECT_EQ(start(&everything, 0, 0, server_.address_number(), 0, &query_), 1);
    EXPECT_EQ(error_of(next(query_, &entry_, &async_)), 14U);
    request_ = server_.receive();
  }

  void happen(Event event) {
    switch (event) {
      case Event::close:
        if (delivered_) expect_entry();  // its texts end now
        TAVQueryClose(query_);
        closed_ = true;
        break;
      case Event::reply:
        reply_.send(server_, request_);
        arrived_ = !exited_;
        break;
      case Event::pop:
        return pop();
      case Event::status:
        return status();
      case Event::exit:
        TAVExit();
        exited_ = true;
        break;
    }
  }

  void end() {
    status();
    EXPECT_EQ(async_.Request, nullptr);
    EXPECT_EQ(told_, 1);
    EXPECT_EQ(entry_.address, delivered_ ? 1U : 0U) << "a closed enumeration writes nowhere";
  }

 private:
  void pop() {
    TAVASYNC* popped = nullptr;
    const unsigned code = error_of(TAVASyncPop(&popped, server_.address_number()));
    if (exited_) {
      EXPECT_EQ(code, 7U);
      EXPECT_EQ(popped, nullptr);
    } else if (!arrived_ || told_ != 0) {
      EXPECT_EQ(code, 14U);
      EXPECT_EQ(popped, nullptr);
    } else {
      EXPECT_EQ(popped, &async_);
      expect_told(code);
    }
  }

  // A handle whose outcome was told must not be asked again.
  void status() {
    if (told_ != 0) return;
    const unsigned code = error_of(TAVASyncStatus(&async_, 0));
    if (exited_) {
      EXPECT_EQ(code, 7U);
      ++told_;
    } else if (!arrived_) {
      EXPECT_EQ(code, 14U);
    } else {
      expect_told(code);
    }
  }

  void expect_told(unsigned code) {
    EXPECT_EQ(code, closed_ ? reply_.closed_code : reply_.open_code);
    EXPECT_EQ(async_.Request, nullptr);
    delivered_ = code == 0;
    ++told_;
  }

  void expect_entry() const {
    EXPECT_EQ(entry_.address, 1U);
    EXPECT_EQ(entry_.user[5], '1');  // of "USER 1"
  }

  AnsweringServer& server_;
  const Reply& reply_;
  TAVQueryEnum* query_ = nullptr;
  Record entry_{};
  TAVASYNC async_{};
  FakeServer::Request request_;
  bool arrived_ = false;
  bool closed_ = false;
  bool exited_ = false;
  bool delivered_ = false;
  int told_ = 0;
};

class ClosedInFlight : public HostTest, public testing::WithParamInterface<Reply> {
 protected:
  template <typename OneStep>
  void in_every_order() {
    Order order{Event::close, Event::reply, Event::pop, Event::status, Event::exit};
    int orders = 0;
    do {
      SCOPED_TRACE(text_of(order));
      OneStep step(server, GetParam());
      for (const Event event : order)
        step.happen(event);
      step.end();
      ++orders;
    } while (std::next_permutation(order.begin(), order.end()));
    EXPECT_EQ(orders, 120);
  }
};

}  // namespace

TEST_P(ClosedInFlight, AWideStepIsToldOnceInEveryOrder) {
  in_every_order<Step<_TAVENTRYW, TAVQueryStartW, TAVQueryNextAsW>>();
}

TEST_P(ClosedInFlight, AnEightBitStepIsToldOnceInEveryOrder) {
  in_every_order<Step<_TAVENTRYA, TAVQueryStartA, TAVQueryNextAsA>>();
}

INSTANTIATE_TEST_SUITE_P(By, ClosedInFlight, testing::ValuesIn(replies),
                         [](const auto& each) { return std::string(each.param.name); });

using ClosedAmongOthers = HostTest;

// Two enumerations share the socket; the first is closed with its step in flight.
TEST_F(ClosedAmongOthers, TheOthersStepGetsItsOwnAnswer) {
  ASSERT_EQ(TAVInitialize(), 1);
  _TAVENTRYA filter{};
  TAVQueryEnum* closed = nullptr;
  TAVQueryEnum* open = nullptr;
  ASSERT_EQ(TAVQueryStartA(&filter, 0, 0, address(), 0, &closed), 1);
  filter.address = 1;
  ASSERT_EQ(TAVQueryStartA(&filter, 0, 0, address(), 0, &open), 1);
  _TAVENTRYA first{};
  _TAVENTRYA second{};
  TAVASYNC first_handle{};
  TAVASYNC second_handle{};
  ASSERT_EQ(error_of(TAVQueryNextAsA(closed, &first, &first_handle)), 14U);
  ASSERT_EQ(error_of(TAVQueryNextAsA(open, &second, &second_handle)), 14U);
  TAVQueryClose(closed);
  server.answer_all();
  EXPECT_EQ(TAVASyncStatus(&second_handle, 1), 1);
  EXPECT_STREQ(second.user, "USER 2");
  EXPECT_EQ(error_of(TAVASyncStatus(&first_handle, 0)), 17U);
  EXPECT_EQ(first.user, nullptr);
  TAVQueryClose(open);
}

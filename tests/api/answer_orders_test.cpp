// Look-ups of both forms and the host's own requests share the gateway's socket: whatever the order of the
// answers, each owner is told its own.

#include <algorithm>
#include <memory>
#include <numeric>

#include "api/requests_in_flight.h"

using namespace tavtest;

namespace {

using Order = std::vector<std::size_t>;

// How many requests there are; the parameter of every test.
class AnswerOrders : public RunningSsoTest, public testing::WithParamInterface<std::size_t> {
 protected:
  ~AnswerOrders() override { time.on_wait({}); }

  // The requests are sent in the order of their indices and answered in `order`. The one at `blocking`, if
  // any, waits: what is sent later can only be answered afterwards.
  void run(const Order& order, std::size_t blocking) {
    requests_.clear();
    answered_.assign(order.size(), false);
    ++round_;
    for (std::size_t i = 0; i < order.size(); ++i) {
      if (i == blocking) {
        block(order, i);
      } else {
        start(i);
      }
    }
    for (const std::size_t i : order)
      answer(i);
    drain(address(), loop);
    for (const auto& request : requests_)
      request->expect_told();
  }

 private:
  static std::unique_ptr<RequestInFlight> make(std::size_t index) {
    const auto number = static_cast<std::uint32_t>(index + 1);
    if (index % 3 == 0) return std::make_unique<LookupInFlight>(number);
    if (index % 3 == 1) return std::make_unique<StepInFlight>(number);
    return std::make_unique<VersionInFlight>(number);
  }

  // Each request gets each kind of reply in turn, round by round.
  Reply kind(std::size_t index) const {
    constexpr Reply replies[] = {Reply::answer, Reply::no_entry, Reply::error, Reply::wrong_digest};
    const Reply reply = replies[(index + round_) % 4];
    const bool is_version = dynamic_cast<const VersionInFlight*>(requests_[index].get()) != nullptr;
    return is_version && reply == Reply::no_entry ? Reply::answer : reply;
  }

  void start(std::size_t index) {
    requests_.push_back(make(index));
    requests_.back()->start(server);
    requests_.back()->ends_with = code_of(kind(index));
  }

  // In the wait everything is answered that comes before the look-up itself; all of it is told when it ends.
  void block(const Order& order, std::size_t index) {
    auto made = std::make_unique<BlockingLookup>(static_cast<std::uint32_t>(index + 1));
    BlockingLookup& lookup = *made;
    requests_.push_back(std::move(made));
    lookup.look_up(server, time, [&] {
      for (std::size_t rank = 0; !answered_[index]; ++rank)
        answer(order[rank]);
    });
    lookup.ends_with = code_of(kind(index));
    lookup.expect_told();
    for (std::size_t i = 0; i < index; ++i) {
      if (answered_[i] && i % 3 == 0) requests_[i]->expect_told();
    }
  }

  void answer(std::size_t index) {
    if (index >= requests_.size() || answered_[index]) return;
    requests_[index]->reply(server, kind(index));
    answered_[index] = true;
  }

  std::vector<std::unique_ptr<RequestInFlight>> requests_;
  std::vector<bool> answered_;
  std::size_t round_ = 0;
};

std::string text_of(const Order& order, std::size_t blocking) {
  std::string text = "answers";
  for (const std::size_t i : order)
    text += " " + std::to_string(i);
  return text + ", blocking " + std::to_string(blocking);
}

}  // namespace

TEST_P(AnswerOrders, OfEveryPermutationTellEachOwnerOnce) {
  for (std::size_t blocking = 0; blocking <= GetParam(); ++blocking) {  // the last: none of them
    Order order(GetParam());
    std::iota(order.begin(), order.end(), std::size_t{0});
    do {
      SCOPED_TRACE(text_of(order, blocking));
      run(order, blocking);
    } while (!HasFailure() && std::next_permutation(order.begin(), order.end()));
  }
}

INSTANTIATE_TEST_SUITE_P(Requests, AnswerOrders, testing::Range(std::size_t{1}, std::size_t{6}),
                         testing::PrintToStringParamName());

#include "api/requests_in_flight.h"

#include <algorithm>

namespace tavtest {
namespace {

constexpr unsigned first_version = 1000;

std::u16string numbered(const std::u16string& text, std::uint32_t number) {
  const std::string digits = std::to_string(number);
  return text + std::u16string(digits.begin(), digits.end());
}

// A buffer that got an empty text: nothing but its first byte is written.
std::array<char, Lookup::size> emptied() {
  auto buffer = Lookup::filled();
  buffer[0] = '\0';
  return buffer;
}

}  // namespace

unsigned code_of(Reply reply) {
  switch (reply) {
    case Reply::answer:
      return 0;
    case Reply::no_entry:
      return 6;
    case Reply::error:
      return 2;
    case Reply::wrong_digest:
      return 13;
  }
  return untouched;
}

std::string user_text(std::uint32_t number) {
  return "USER" + std::to_string(number);
}

WireEntry numbered_entry(std::uint32_t number) {
  return {.user = numbered(u"USER", number),
          .string2 = u"NOT THIS",
          .string3 = numbered(u"TEXT", number),
          .address = number};
}

std::array<char, Lookup::size> holding(const std::string& text) {
  std::array<char, Lookup::size> buffer{};
  std::copy(text.begin(), text.end(), buffer.begin());
  return buffer;
}

void RequestInFlight::start(FakeServer& server) {
  send(server.address_number());
  sent_ = server.receive();
  ends_with = 0;
}

void RequestInFlight::reply(FakeServer& server, Reply how) const {
  if (!was_sent()) return;
  switch (how) {
    case Reply::answer:
      return server.reply_entry(sent_, numbered_entry(number_));
    case Reply::no_entry:
      return server.reply_no_entry(sent_);
    case Reply::error:
      return server.reply_error(sent_);
    case Reply::wrong_digest:
      return server.reply_bad_digest(sent_);
  }
}

void LookupInFlight::send(unsigned long /*server*/) {
  lookup.start(number());
}

void LookupInFlight::expect_told() const {
  auto user = Lookup::filled();
  auto second = Lookup::filled();
  std::vector<int> outcomes;
  if (ends_with) outcomes = {*ends_with == 0 || *ends_with == 6 ? 1 : 0};
  if (ends_with == 0u) {
    user = holding(user_text(number()));
    second = holding("TEXT" + std::to_string(number()));
  } else if (ends_with == 6u) {
    user = second = emptied();
  } else if (ends_with) {
    EXPECT_EQ(lookup.last_error, *ends_with) << "look-up " << number();
  }
  EXPECT_EQ(lookup.outcomes, outcomes) << "look-up " << number();
  EXPECT_EQ(lookup.user, user) << "look-up " << number();
  EXPECT_EQ(lookup.second, second) << "look-up " << number();
}

void BlockingLookup::look_up(FakeServer& server, FakeTime& time, const std::function<void()>& meanwhile) {
  time.on_wait([&](int, timeval) {
    if (was_sent()) return;
    sent_ = server.receive();
    meanwhile();
  });
  const int result =
      SSO_GetUserByAddr(number(), lookup.user.data(), Lookup::size, lookup.second.data(), Lookup::size);
  Lookup::ended(result, &lookup);
  time.on_wait({});
}

void HostRequest::tell(int result) {
  told.push_back(result == 1 ? 0 : TAVGetLastError());
}

int HostRequest::give_up() {
  answered_in_vain_ = async.Request != nullptr && async.Request->status == 0;
  ends_with = std::nullopt;
  return TAVASyncAbandon(&async);
}

void HostRequest::expect_told_once() const {
  std::vector<unsigned> codes;
  if (ends_with) codes = {*ends_with};
  EXPECT_EQ(told, codes) << "request " << number();
  EXPECT_EQ(async.Request, nullptr) << "request " << number();
}

void VersionInFlight::send(unsigned long server) {
  EXPECT_TRUE(failed_with(14, TAVQueryVersionAs(server, &version_, &async)));
}

void VersionInFlight::reply(FakeServer& server, Reply how) const {
  if (how == Reply::answer) {
    server.reply_version(sent_, first_version + number());
  } else {
    RequestInFlight::reply(server, how);
  }
}

void VersionInFlight::expect_told() const {
  expect_told_once();
  EXPECT_EQ(version_, was_answered() ? first_version + number() : untouched) << "request " << number();
}

void StepInFlight::open(unsigned long server) {
  close();
  const _TAVENTRYA everything{};
  EXPECT_EQ(TAVQueryStartA(&everything, 0, 0, server, 0, &query_), 1);
}

void StepInFlight::send(unsigned long server) {
  if (query_ == nullptr) open(server);
  EXPECT_TRUE(failed_with(14, next()));
}

int StepInFlight::next() {
  entry_ = {};
  text_.clear();
  return TAVQueryNextAsA(query_, &entry_, &async);
}

// The texts belong to the enumeration, so they are read before it is closed.
void StepInFlight::tell(int result) {
  HostRequest::tell(result);
  if (result == 1 && entry_.user != nullptr) text_ = entry_.user;
}

void StepInFlight::expect_told() const {
  expect_told_once();
  EXPECT_EQ(text_, ends_with == 0u ? user_text(number()) : "") << "request " << number();
  EXPECT_EQ(entry_.address, was_answered() ? number() : 0) << "request " << number();
}

bool pop_and_tell(unsigned long server) {
  TAVASYNC* done = nullptr;
  const int result = TAVASyncPop(&done, server);
  if (done == nullptr) return false;
  if (done->Request == nullptr) static_cast<HostRequest*>(done->Context)->tell(result);
  return true;
}

void drain(unsigned long server, const HostLoop& loop) {
  do {
    while (pop_and_tell(server)) {
    }
  } while (loop.run_ready() > 0);
  loop.run();  // look-ups whose answer a pop has read
}

void expect_blocking_lookup(std::uint32_t number) {
  auto user = Lookup::filled();
  auto second = Lookup::filled();
  EXPECT_EQ(SSO_GetUserByAddr(number, user.data(), Lookup::size, second.data(), Lookup::size), 1);
  EXPECT_EQ(user, holding(user_text(number)));
  EXPECT_EQ(second, holding("TEXT" + std::to_string(number)));
}

}  // namespace tavtest

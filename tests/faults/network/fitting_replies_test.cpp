// Replies that fit: same id, right digest, of another question. Nothing in a reply tells what was asked but
// its id, so the library cannot know better. What holds: the prescribed outcome, sound memory, and the next
// look-up is unharmed.

#include <ostream>

#include "faults/network/forgery.h"
#include "support/oracle.h"

namespace tavtest {
namespace {

using Request = FakeServer::Request;

struct Fitting {
  const char* name;
  Bytes (*packet)(std::uint32_t id);
  User told;

  friend std::ostream& operator<<(std::ostream& out, const Fitting& each) { return out << each.name; }
};

Bytes counted(std::uint8_t code, std::uint32_t id, std::uint32_t count) {
  Bytes packet = make_packet(code, id);
  put_be32(packet, 28, count);
  return packet;
}

const std::vector<Fitting> fitting{
    {"AnotherUsersEntry",
     [](std::uint32_t id) {
       return entry_packet(0x83, id, {.user = u"EARLIER", .string3 = u"TREE", .address = 7});
     },
     {"EARLIER", "TREE"}},
    {"NoEntry", [](std::uint32_t id) { return counted(0x83, id, 0); }, {}},
    // A count that is not 0 and a descriptor without anything: an entry, and nobody's name in it.
    {"Version", [](std::uint32_t id) { return counted(0x81, id, 0x01020304); }, {}},
    {"Status", [](std::uint32_t id) { return counted(0x82, id, 0); }, {}},
    {"NoCodeAtAll",
     [](std::uint32_t id) { return entry_packet(0x80, id, {.user = u"BARE", .string3 = u"TREE"}); },
     {"BARE", "TREE"}},
    {"LoggedOut",
     [](std::uint32_t id) { return entry_packet(0x83, id, {.user = u"GONE", .string3 = u"X", .word12 = 1}); },
     {}}};

class FittingReply : public ForgeryTest, public testing::WithParamInterface<std::tuple<Fitting, Kind>> {
 protected:
  void reply(const Request& request) {
    server.reply_packet(request, std::get<0>(GetParam()).packet(request.id()));
    server.reply_entry(request, user_at(here, u"TRUE"));  // comes second, and fits nothing any more
  }

  const User& told() const { return std::get<0>(GetParam()).told; }
  Kind kind() const { return std::get<1>(GetParam()); }
};

TEST_P(FittingReply, IsTakenForTheAnswerByAWaitingLookup) {
  in_first_wait([this](const Request& request) { reply(request); });
  const Answer answer = look_up(kind(), address(), here);
  EXPECT_EQ(answer.code, 0U);
  EXPECT_EQ(answer.user, told());
  expect_unharmed();
}

TEST_P(FittingReply, IsTakenForTheAnswerByAnAsynchronousLookup) {
  AsyncLookup lookup;
  lookup.start(kind(), address(), here);
  reply(server.receive());
  serve_socket(address());
  ASSERT_EQ(lookup.ends(), 1U);
  EXPECT_EQ(lookup.answer()->code, 0U);
  EXPECT_EQ(lookup.answer()->user, told());
  expect_unharmed();
}

INSTANTIATE_TEST_SUITE_P(All, FittingReply,
                         testing::Combine(testing::ValuesIn(fitting), testing::ValuesIn(all_kinds)),
                         [](const auto& test) {
                           return std::string(std::get<0>(test.param).name) + "To" +
                                  name_of(std::get<1>(test.param));
                         });

}  // namespace
}  // namespace tavtest

// How texts are copied into a caller's buffers, for the blocking and the asynchronous look-up alike.

#include "api/sso_fixture.h"

using namespace tavtest;

namespace {

// The two forms: each looks `somewhere` up and lets the server give `reply`. The result, or what the callback
// was told.
struct Form {
  const char* name;
  bool blocking;
};

void PrintTo(const Form& form, std::ostream* out) {
  *out << form.name;
}

class SsoBuffers : public RunningSsoTest, public testing::WithParamInterface<Form> {
 protected:
  int look_up(const WireEntry& entry, char* user, unsigned userLength, char* second, unsigned secondLength) {
    if (GetParam().blocking) {
      answer_next_wait([this, entry](const auto& request) { server.reply_entry(request, entry); });
      return SSO_GetUserByAddr(somewhere, user, userLength, second, secondLength);
    }
    Lookup told;
    SSO_GetUserByAddrAsync(somewhere, user, userLength, second, secondLength, Lookup::ended, &told);
    server.reply_entry(server.receive(), entry);
    loop.run_ready();
    return told.outcomes == std::vector<int>{1} ? 1 : 0;
  }

  // What the two buffers of 8 bytes hold after a look-up that was told of their first bytes only.
  void expect_texts(const WireEntry& entry, unsigned userLength, unsigned secondLength,
                    const std::string& expected_user, const std::string& expected_second) {
    std::string user(8, '#');
    std::string second(8, '#');
    EXPECT_EQ(look_up(entry, user.data(), userLength, second.data(), secondLength), 1);
    EXPECT_EQ(user, expected_user);
    EXPECT_EQ(second, expected_second);
  }

  const WireEntry found = user_at(somewhere);  // "ALICE", "TREE"
};

using namespace std::string_literals;

WireEntry nobody() {
  return {.user = u"GHOST", .string3 = u"GONE", .word12 = 1};
}

}  // namespace

TEST_P(SsoBuffers, ShorterTextsAreFilledUpWithZeros) {
  expect_texts(found, 8, 7, "ALICE\0\0\0"s, "TREE\0\0\0#"s);
}

TEST_P(SsoBuffers, ATextOneShorterThanItsBufferIsTerminated) {
  expect_texts(found, 6, 5, "ALICE\0##"s, "TREE\0###"s);
}

TEST_P(SsoBuffers, ATextOfTheBuffersLengthIsNotTerminated) {
  expect_texts(found, 5, 4, "ALICE###", "TREE####");
}

TEST_P(SsoBuffers, ALongerTextIsCutWithoutATerminator) {
  expect_texts(found, 3, 1, "ALI#####", "T#######");
}

TEST_P(SsoBuffers, OfLengthZeroAreNotWritten) {
  expect_texts(found, 0, 0, "########", "########");
}

TEST_P(SsoBuffers, OfLengthZeroAreNotWrittenForNobody) {
  expect_texts(nobody(), 0, 0, "########", "########");
}

TEST_P(SsoBuffers, OfLengthZeroAreNotWrittenForMissingTexts) {
  expect_texts({}, 0, 0, "########", "########");
}

TEST_P(SsoBuffers, HaveLengthsOfTheirOwn) {
  expect_texts(found, 0, 8, "########", "TREE\0\0\0\0"s);
  expect_texts(found, 8, 0, "ALICE\0\0\0"s, "########");
}

TEST_P(SsoBuffers, OneByteIsRoomForAnEmptyText) {
  expect_texts(nobody(), 1, 1, "\0#######"s, "\0#######"s);
  expect_texts({}, 1, 1, "\0#######"s, "\0#######"s);
}

TEST_P(SsoBuffers, AnEmptyTextTouchesOnlyTheFirstByte) {
  expect_texts(nobody(), 8, 8, "\0#######"s, "\0#######"s);
  expect_texts({}, 8, 8, "\0#######"s, "\0#######"s);
}

TEST_P(SsoBuffers, OneTextMayBeMissing) {
  WireEntry entry = found;
  entry.string3 = std::nullopt;
  expect_texts(entry, 8, 8, "ALICE\0\0\0"s, "\0#######"s);
  entry = found;
  entry.user = std::nullopt;
  expect_texts(entry, 8, 8, "\0#######"s, "TREE\0\0\0\0"s);
}

TEST_P(SsoBuffers, MayBeNullForAnAnswer) {
  char text[8] = "#######";
  EXPECT_EQ(look_up(found, nullptr, 8, text, 8), 1);
  EXPECT_STREQ(text, "TREE");
  EXPECT_EQ(look_up(found, text, 8, nullptr, 8), 1);
  EXPECT_STREQ(text, "ALICE");
  EXPECT_EQ(look_up(found, nullptr, 8, nullptr, 8), 1);
}

TEST_P(SsoBuffers, MayBeNullForMissingTexts) {
  EXPECT_EQ(look_up({}, nullptr, 8, nullptr, 8), 1);
}

TEST_P(SsoBuffers, MayBeNullWithLengthZeroForNobody) {
  EXPECT_EQ(look_up(nobody(), nullptr, 0, nullptr, 0), 1);
}

INSTANTIATE_TEST_SUITE_P(All, SsoBuffers,
                         testing::Values(Form{"Blocking", true}, Form{"Asynchronous", false}), ByName());

namespace {

class SsoNobody : public RunningSsoTest {};

using SsoNobodyDeathTest = SsoNobody;

}  // namespace

TEST_F(SsoNobody, AnAsynchronousLookupTestsItsBuffersForNull) {
  Lookup told;
  SSO_GetUserByAddrAsync(somewhere, nullptr, 8, nullptr, 8, Lookup::ended, &told);
  server.reply_entry(server.receive(), nobody());
  loop.run_ready();
  EXPECT_EQ(told.outcomes, std::vector<int>{1});
}

TEST_F(SsoNobody, NoEntryTestsTheBuffersForNull) {
  answer_next_wait([this](const auto& request) { server.reply_no_entry(request); });
  EXPECT_EQ(SSO_GetUserByAddr(somewhere, nullptr, 8, nullptr, 8), 1);
}

TEST_F(SsoNobodyDeathTest, ABlockingLookupWritesWithoutTestingTheUserBuffer) {
  char second[8];
  answer_next_wait([this](const auto& request) { server.reply_entry(request, nobody()); });
  EXPECT_DEATH(SSO_GetUserByAddr(somewhere, nullptr, 8, second, 8), "");
}

TEST_F(SsoNobodyDeathTest, ABlockingLookupWritesWithoutTestingTheSecondBuffer) {
  char user[8];
  answer_next_wait([this](const auto& request) { server.reply_entry(request, nobody()); });
  EXPECT_DEATH(SSO_GetUserByAddr(somewhere, user, 8, nullptr, 8), "");
}

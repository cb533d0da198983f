// An enumeration's steps: what each sends, and what its answer brings.

#include <cstring>
#include <cwchar>
#include <string>

#include "servers/enumeration_fixture.h"

namespace {

using tavtest::Bytes;
using tavtest::EnumerationTest;
using tavtest::frame_request;
using tavtest::query_packet;
using tavtest::sample_on_wire;
using tavtest::WireEntry;

using QueryEnum = EnumerationTest;

/// The sample as the library reads it: in upper case, its quote a dot, its flag 0 or 1.
WireEntry sample_as_read() {
  WireEntry entry = sample_on_wire();
  entry.user = u"ALICE";
  entry.string2 = u"HOST.ONE";
  entry.string3 = u"X.Y";
  return entry;
}

template <typename Record>
void expect_sample_words(const Record& record) {
  EXPECT_EQ(record.tag, 0x01020304U);
  ASSERT_EQ(record.dataLength, 5U);
  EXPECT_EQ(Bytes(record.data, record.data + 5), (Bytes{0xde, 0xad, 0x00, 0xbe, 0xef}));
  EXPECT_EQ(record.address, 0x11223344U);
  EXPECT_EQ(record.word7, 0x70000007U);
  EXPECT_EQ(record.flag8, 1U);
  EXPECT_EQ(record.word9, 0x90000009U);
  EXPECT_EQ(record.word10, 0xa000000aU);
  EXPECT_EQ(record.word11, 0xb000000bU);
  EXPECT_EQ(record.word12, 0xc000000cU);
  EXPECT_EQ(record.word13, 0xd000000dU);
  EXPECT_EQ(record.word14, 0xe000000eU);
  EXPECT_EQ(record.userLength, 5U);
  EXPECT_EQ(record.string2Length, 8U);
  EXPECT_EQ(record.string3Length, 3U);
}

TEST_F(QueryEnum, TheFirstStepSendsTheFilterWithWord13Cleared) {
  auto enumeration = open();
  EXPECT_EQ(enumeration->IsValid(), 1);
  _TAVENTRYW out{};
  const auto sent = start(*enumeration, out, request);
  WireEntry expected = sample_on_wire();
  expected.word13 = 0;
  EXPECT_EQ(sent.datagram, frame_request(query_packet(sent.id(), 0xa1, 0xa2, 0xa3, expected), "wheel"));
  EXPECT_EQ(request.context, enumeration.get());
}

TEST_F(QueryEnum, KeepsACopyOfTheFilter) {
  std::wstring user = L"bob";
  filter = _TAVENTRYW{};
  filter.user = user.data();
  auto enumeration = open();
  user = L"eve";
  filter.word7 = 9;
  _TAVENTRYW out{};
  WireEntry expected;
  expected.user = u"bob";
  const auto sent = start(*enumeration, out, request);
  EXPECT_EQ(sent.packet, tavtest::seal_reply(query_packet(sent.id(), 0xa1, 0xa2, 0xa3, expected), "wheel"));
}

TEST_F(QueryEnum, LeavesTheCallersFilterAsItWas) {
  open();
  EXPECT_EQ(filter.word13, 0xd000000dU);
  EXPECT_STREQ(filter.user, L"alice");
}

TEST_F(QueryEnum, AWideStepFillsAWideRecord) {
  auto enumeration = open();
  _TAVENTRYW out{};
  EXPECT_EQ(step(*enumeration, out, sample_on_wire()), 0U);
  EXPECT_STREQ(out.user, L"ALICE");
  EXPECT_STREQ(out.string2, L"HOST.ONE");
  EXPECT_STREQ(out.string3, L"X.Y");
  expect_sample_words(out);
}

TEST_F(QueryEnum, ANarrowStepFillsANarrowRecord) {
  auto enumeration = open();
  _TAVENTRYA out{};
  EXPECT_EQ(step(*enumeration, out, sample_on_wire()), 0U);
  EXPECT_STREQ(out.user, "ALICE");
  EXPECT_STREQ(out.string2, "HOST.ONE");
  EXPECT_STREQ(out.string3, "X.Y");
  expect_sample_words(out);
}

TEST_F(QueryEnum, FillsTheRecordOnlyWhenTheAnswerComes) {
  auto enumeration = open();
  _TAVENTRYW out{};
  out.tag = 77;
  const auto sent = start(*enumeration, out, request);
  EXPECT_EQ(out.tag, 77U);
  peer.reply_interim(sent);
  EXPECT_EQ(complete(request), 14U);
  EXPECT_EQ(out.tag, 77U);
  peer.reply_entry(sent, sample_on_wire());
  EXPECT_EQ(complete(request), 0U);
  EXPECT_EQ(out.tag, 0x01020304U);
}

// Word 13 travels back as it came, too.
TEST_F(QueryEnum, EachStepContinuesAfterTheEntryReceived) {
  auto enumeration = open();
  _TAVENTRYA narrow{};
  ASSERT_EQ(step(*enumeration, narrow, sample_on_wire()), 0U);
  _TAVENTRYW wide{};
  const auto second = start(*enumeration, wide, request);
  EXPECT_EQ(second.packet,
            tavtest::seal_reply(query_packet(second.id(), 0xa1, 0xa2, 0xa3, sample_as_read()), "wheel"));

  WireEntry next;
  next.user = u"BOB";
  next.word13 = 0x13131313;
  peer.reply_entry(second, next);
  EXPECT_EQ(complete(request), 0U);
  EXPECT_STREQ(wide.user, L"BOB");
  EXPECT_EQ(wide.string2, nullptr);
  EXPECT_EQ(wide.data, nullptr);

  const auto third = start(*enumeration, narrow, request);
  EXPECT_EQ(third.packet, tavtest::seal_reply(query_packet(third.id(), 0xa1, 0xa2, 0xa3, next), "wheel"));
}

TEST_F(QueryEnum, AnEntrysTextsLastUntilTheNextStepCompletes) {
  auto enumeration = open();
  _TAVENTRYW first{};
  ASSERT_EQ(step(*enumeration, first, sample_on_wire()), 0U);
  _TAVENTRYW second{};
  start(*enumeration, second, request);
  EXPECT_STREQ(first.user, L"ALICE");
  EXPECT_STREQ(first.string3, L"X.Y");
}

TEST_F(QueryEnum, ACountOfZeroEndsItAndLeavesTheRecordUntouched) {
  auto enumeration = open();
  _TAVENTRYW wide{};
  wide.tag = 77;
  peer.reply_no_entry(start(*enumeration, wide, request));
  EXPECT_EQ(complete(request), 6U);
  EXPECT_EQ(wide.tag, 77U);

  _TAVENTRYA narrow{};
  narrow.tag = 78;
  peer.reply_no_entry(start(*enumeration, narrow, request));
  EXPECT_EQ(complete(request), 6U);
  EXPECT_EQ(narrow.tag, 78U);
}

TEST_F(QueryEnum, AnyOtherCountIsAnEntry) {
  auto enumeration = open();
  _TAVENTRYW out{};
  const auto sent = start(*enumeration, out, request);
  Bytes reply = tavtest::entry_packet(0x83, sent.id(), sample_on_wire());
  tavtest::put_be32(reply, 28, 0x80000000);
  peer.reply_packet(sent, reply);
  EXPECT_EQ(complete(request), 0U);
  EXPECT_STREQ(out.user, L"ALICE");
}

TEST_F(QueryEnum, AnEntryThatCannotBeReadIsTheEnd) {
  auto enumeration = open();
  _TAVENTRYW out{};
  out.tag = 77;
  const auto sent = start(*enumeration, out, request);
  Bytes reply = tavtest::entry_packet(0x83, sent.id(), sample_on_wire());
  tavtest::put_be16(reply, 32 + 6, 1000);  // characters of the user: far more than there are
  peer.reply_packet(sent, reply);
  EXPECT_EQ(complete(request), 6U);
  EXPECT_EQ(out.tag, 77U);
}

// The cursor's texts and block are gone then. Its words are still those of the last entry, the cached lengths
// of the texts, which count for the size, among them.
TEST_F(QueryEnum, AStepAfterTheEndIsHarmless) {
  auto enumeration = open();
  _TAVENTRYW out{};
  ASSERT_EQ(step(*enumeration, out, sample_on_wire()), 0U);
  peer.reply_no_entry(start(*enumeration, out, request));
  ASSERT_EQ(complete(request), 6U);

  const auto sent = start(*enumeration, out, request);
  EXPECT_EQ(sent.packet.size(), 100U + 4 * (5 + 8 + 3));
  WireEntry words = sample_on_wire();
  words.user.reset();
  words.string2.reset();
  words.string3.reset();
  words.data.clear();
  const Bytes expected = query_packet(sent.id(), 0xa1, 0xa2, 0xa3, words);
  EXPECT_EQ(Bytes(sent.packet.begin() + 28, sent.packet.begin() + 96),
            Bytes(expected.begin() + 28, expected.begin() + 96));
  peer.reply_entry(sent, sample_on_wire());
  EXPECT_EQ(complete(request), 0U);
}

// As after the end: the cursor's words and cached lengths are those of the entry before, and its texts and
// block are gone. A count that the reply only claimed must not make the next request longer than it is, let
// alone too large.
TEST_F(QueryEnum, AStepAfterAnEntryThatCannotBeReadSendsARightRequest) {
  WireEntry words = sample_on_wire();
  words.user.reset();
  words.string2.reset();
  words.string3.reset();
  words.data.clear();
  constexpr std::uint16_t claims[] = {100, 1000};
  for (const std::size_t count_at : {32U + 6, 32U + 10, 32U + 14}) {
    for (const std::uint16_t claimed : claims) {
      auto enumeration = open();
      _TAVENTRYW out{};
      ASSERT_EQ(step(*enumeration, out, sample_on_wire()), 0U);
      const auto answered = start(*enumeration, out, request);
      Bytes reply = tavtest::entry_packet(0x83, answered.id(), sample_on_wire());
      tavtest::put_be16(reply, count_at, claimed);
      peer.reply_packet(answered, reply);
      ASSERT_EQ(complete(request), 6U);

      Request next;
      const auto sent = start(*enumeration, out, next);
      Bytes expected = query_packet(sent.id(), 0xa1, 0xa2, 0xa3, words);
      expected.resize(100 + 4 * (5 + 8 + 3));
      tavtest::put_be32(expected, 0, 100 + 4 * (5 + 8 + 3));
      EXPECT_EQ(sent.packet, tavtest::seal_reply(expected, "wheel"));
      peer.reply_entry(sent, sample_on_wire());
      EXPECT_EQ(complete(next), 0U);
      EXPECT_STREQ(out.user, L"ALICE");
    }
  }
}

// The C locale, in which the tests run, has no such character.
TEST_F(QueryEnum, ATextThatTheLocaleCannotConvertIsNineInTheNarrowForm) {
  WireEntry entry;
  entry.user = u"\u0416";
  auto enumeration = open();
  _TAVENTRYA narrow{};
  EXPECT_EQ(step(*enumeration, narrow, entry), 9U);
  _TAVENTRYW wide{};
  EXPECT_EQ(step(*enumeration, wide, entry), 0U);
  EXPECT_STREQ(wide.user, L"\u0416");
}

// The wide record is copied into the caller's first, and is what stays there.
TEST_F(QueryEnum, ANarrowRecordHoldsTheWideOneWhenThatCannotBeConverted) {
  WireEntry entry = sample_on_wire();
  entry.user = u"alic\u0416";
  auto enumeration = open();
  _TAVENTRYA narrow{};
  ASSERT_EQ(step(*enumeration, narrow, entry), 9U);
  _TAVENTRYW wide{};
  static_assert(sizeof wide == sizeof narrow);
  std::memcpy(&wide, &narrow, sizeof wide);
  EXPECT_STREQ(wide.user, L"ALIC\u0416");
  EXPECT_STREQ(wide.string2, L"HOST.ONE");
  EXPECT_STREQ(wide.string3, L"X.Y");
  expect_sample_words(wide);
}

TEST_F(QueryEnum, AnUnknownServerIsEleven) {
  TAVQueryEnum lost(peer.address_number() + 1, filter, 0, 0, 0, &list);
  EXPECT_EQ(lost.IsValid(), 1);
  _TAVENTRYW out{};
  EXPECT_EQ(lost.QueryNext(out, &request), 11U);
  EXPECT_EQ(lost.QueryNext(out, &request), 11U);
  EXPECT_TRUE(peer.is_idle());
}

TEST_F(QueryEnum, AFilterThatDoesNotFitARequestIsEleven) {
  filter = tavtest::long_entry<_TAVENTRYW>(1000);
  auto enumeration = open();
  EXPECT_EQ(enumeration->IsValid(), 1);
  _TAVENTRYA out{};
  EXPECT_EQ(enumeration->QueryNext(out, &request), 11U);
  EXPECT_EQ(enumeration->QueryNext(out, &request), 11U);
  EXPECT_TRUE(peer.is_idle());
}

TEST_F(QueryEnum, KnowsTheListItWasMadeFor) {
  auto enumeration = open();
  EXPECT_EQ(enumeration->UsesList(&list), 1);
  EXPECT_EQ(enumeration->UsesList(nullptr), 0);
}

}  // namespace

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <string>

#include "protocol/entry_widths.h"
#include "protocol/scoped_locale.h"

// Entries from one width to the other, by the process's locale.

namespace {

using tavtest::CallerEntry;
using tavtest::codes;
using tavtest::Narrow;
using tavtest::OwnedEntry;
using tavtest::owns_nothing;
using tavtest::ScopedLocale;
using tavtest::Wide;

int convert(_TAVENTRYW& to, const _TAVENTRYA& from) {
  return EntryAToW(to, from);
}
int convert(_TAVENTRYA& to, const _TAVENTRYW& from) {
  return EntryWToA(to, from);
}

struct NarrowToWide {
  using From = Narrow;
  using To = Wide;
};
struct WideToNarrow {
  using From = Wide;
  using To = Narrow;
};

template <class TypeParam>
class EntryConvert : public ::testing::Test {
 protected:
  CallerEntry<typename TypeParam::From> source;
  OwnedEntry<typename TypeParam::To> result;
};

using Directions = ::testing::Types<NarrowToWide, WideToNarrow>;
TYPED_TEST_SUITE(EntryConvert, Directions);

TYPED_TEST(EntryConvert, TextsAndBlockAreCopiedAsTheyAre) {
  this->source.user("o'Brien").string2("").string3("\"x\"").data(std::string("\0\xFF", 2));
  ASSERT_EQ(convert(this->result.target(), this->source.entry), 1);
  EXPECT_EQ(codes(this->result->user), U"o'Brien");
  EXPECT_EQ(codes(this->result->string2), U"");
  EXPECT_EQ(codes(this->result->string3), U"\"x\"");
  ASSERT_EQ(this->result->dataLength, 2U);
  EXPECT_EQ(std::memcmp(this->result->data, "\0\xFF", 2), 0);
  EXPECT_NE(this->result->data, this->source.entry.data);
}

TYPED_TEST(EntryConvert, WordsAreCopied) {
  auto& entry = this->source.entry;
  std::uint32_t value = 0x11111111;
  for (auto* word : {&entry.tag, &entry.address, &entry.word7, &entry.flag8, &entry.word9, &entry.word10,
                     &entry.word11, &entry.word12, &entry.word13, &entry.word14}) {
    *word = value;
    value += 0x11111111;
  }
  ASSERT_EQ(convert(this->result.target(), entry), 1);
  value = 0x11111111;
  for (auto word : {this->result->tag, this->result->address, this->result->word7, this->result->flag8,
                    this->result->word9, this->result->word10, this->result->word11, this->result->word12,
                    this->result->word13, this->result->word14}) {
    EXPECT_EQ(word, value);
    value += 0x11111111;
  }
}

TYPED_TEST(EntryConvert, CachedLengthsAreCountedAfresh) {
  this->source.user("four").string3("");
  this->source.entry.userLength = 77;
  this->source.entry.string2Length = 88;  // of a null text
  this->source.entry.string3Length = 99;
  ASSERT_EQ(convert(this->result.target(), this->source.entry), 1);
  EXPECT_EQ(this->result->userLength, 4U);
  EXPECT_EQ(this->result->string2Length, 0U);
  EXPECT_EQ(this->result->string3Length, 0U);
  EXPECT_EQ(this->result->string2, nullptr);
}

TYPED_TEST(EntryConvert, EmptyEntryOwnsNothing) {
  ASSERT_EQ(convert(this->result.target(), this->source.entry), 1);
  EXPECT_TRUE(owns_nothing(this->result.entry));
}

TYPED_TEST(EntryConvert, BlockWithoutLengthOrAddressIsNone) {
  this->source.data("bytes").entry.dataLength = 0;
  ASSERT_EQ(convert(this->result.target(), this->source.entry), 1);
  EXPECT_EQ(this->result->data, nullptr);
  this->source.entry.data = nullptr;
  this->source.entry.dataLength = 1000;
  ASSERT_EQ(convert(this->result.target(), this->source.entry), 1);
  EXPECT_EQ(this->result->data, nullptr);
  EXPECT_EQ(this->result->dataLength, 1000U) << "every word is copied";
}

// "a", o with two dots, the euro sign, a face: 1, 2, 3 and 4 bytes in UTF-8.
constexpr char kUtf8[] = "a\xC3\xB6\xE2\x82\xAC\xF0\x9F\x99\x82";
constexpr char32_t kCodes[] = U"a\x00F6\x20AC\x1F642";
const std::wstring kWide(std::begin(kCodes), std::end(kCodes) - 1);

TEST(EntryConvertUtf8, MultibyteTextLongerThanItsCountArrivesWhole) {
  const ScopedLocale locale("C.UTF-8");
  CallerEntry<Wide> source;
  source.set(source.entry.user, kWide).set(source.entry.string2, std::wstring(500, L'\x20AC'));
  source.string3("plain");
  OwnedEntry<Narrow> result;
  ASSERT_EQ(EntryWToA(result.target(), source.entry), 1);
  EXPECT_STREQ(result->user, kUtf8);
  EXPECT_EQ(result->userLength, 4U) << "the wide text's count";
  EXPECT_EQ(std::strlen(result->string2), 1500U);
  EXPECT_EQ(result->string2Length, 500U);
  EXPECT_STREQ(result->string3, "plain");
}

TEST(EntryConvertUtf8, MultibyteTextBecomesFewerWideCharacters) {
  const ScopedLocale locale("C.UTF-8");
  CallerEntry<Narrow> source;
  source.user(kUtf8).string2("plain");
  OwnedEntry<Wide> result;
  ASSERT_EQ(EntryAToW(result.target(), source.entry), 1);
  EXPECT_EQ(codes(result->user), kCodes);
  EXPECT_EQ(result->userLength, 10U) << "the 8-bit text's count";
  EXPECT_EQ(codes(result->string2), U"plain");
}

TEST(EntryConvertUtf8, BrokenMultibyteTextFails) {
  const ScopedLocale locale("C.UTF-8");
  for (const char* broken : {"\xC3", "x\xFFy", "\xED\xA0\x80"}) {
    CallerEntry<Narrow> source;
    source.user("fine").string3(broken).data("block");
    OwnedEntry<Wide> result;
    EXPECT_EQ(EntryAToW(result.target(), source.entry), 0);
    EXPECT_TRUE(owns_nothing(result.entry));
  }
}

class Unconvertible : public ::testing::TestWithParam<int> {};

TEST_P(Unconvertible, WideCharacterFailsInThePlainLocale) {
  const ScopedLocale locale("C");
  CallerEntry<Wide> source;
  source.user("one").string2("two").string3("three").data("block");
  wchar_t** const texts[] = {&source.entry.user, &source.entry.string2, &source.entry.string3};
  source.set(*texts[GetParam()], L"caf\u00E9");
  OwnedEntry<Narrow> result;
  EXPECT_EQ(EntryWToA(result.target(), source.entry), 0);
  EXPECT_TRUE(owns_nothing(result.entry));
}

// The words are copied before the texts, the cached lengths among them; a text is counted once it is
// converted.
TEST_P(Unconvertible, WideCharacterLeavesTheCachedLengthsThatWereCopied) {
  const ScopedLocale locale("C");
  CallerEntry<Wide> source;
  source.user("one").string2("three").string3("seven77");
  wchar_t** const texts[] = {&source.entry.user, &source.entry.string2, &source.entry.string3};
  source.set(*texts[GetParam()], L"caf\u00E9");
  source.entry.userLength = 71;
  source.entry.string2Length = 72;
  source.entry.string3Length = 73;
  OwnedEntry<Narrow> result;
  ASSERT_EQ(EntryWToA(result.target(), source.entry), 0);
  EXPECT_EQ(result->userLength, GetParam() > 0 ? 3U : 71U);
  EXPECT_EQ(result->string2Length, GetParam() > 1 ? 5U : 72U);
  EXPECT_EQ(result->string3Length, 73U);
}

INSTANTIATE_TEST_SUITE_P(EachText, Unconvertible, ::testing::Values(0, 1, 2));

TEST(EntryConvertLocale, IsNeverSetByTheLibrary) {
  const ScopedLocale locale("C.UTF-8");
  const std::string before = std::setlocale(LC_ALL, nullptr);
  CallerEntry<Wide> source;
  source.set(source.entry.user, kWide);
  OwnedEntry<Narrow> result;
  EntryWToA(result.target(), source.entry);
  EXPECT_EQ(std::setlocale(LC_ALL, nullptr), before);
}

}  // namespace

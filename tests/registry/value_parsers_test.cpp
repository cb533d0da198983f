// The text of a value, as it stands after the '=', and the bytes that it means.

#include <gtest/gtest.h>

#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

struct Parsing {
  const char* name;
  std::string text;
  Value value;

  friend void PrintTo(const Parsing& tested, std::ostream* out) { *out << tested.name; }
};

Value number(std::uint32_t value) {
  return {REG_DWORD, std::string(reinterpret_cast<const char*>(&value), sizeof value)};
}

class ValueText : public testing::TestWithParam<Parsing> {};

TEST_P(ValueText, IsRead) {
  ARegistryData data;
  ASSERT_EQ(data.EnterData("v", GetParam().text.c_str()), 1);
  const ARegistryData::Entry* entry = data.GetData("v");
  ASSERT_NE(entry, nullptr);
  EXPECT_STREQ(entry->name, "v");
  EXPECT_EQ((Value{entry->type, {reinterpret_cast<const char*>(entry->data), entry->size}}),
            GetParam().value);
}

const std::string long_text(20000, 'x');

INSTANTIATE_TEST_SUITE_P(
    Text, ValueText,
    testing::Values(Parsing{"Plain", "\"abc\"\n", {1, zeroed("abc\0")}},
                    Parsing{"Empty", "\"\"\n", {1, zeroed("\0")}},
                    Parsing{"EscapedQuote", R"("a\"b")", {1, zeroed("a\"b\0")}},
                    Parsing{"EscapedBackslash", R"("a\\b")", {1, zeroed("a\\b\0")}},
                    Parsing{"EscapedLetterIsTheLetter", R"("a\nb")", {1, zeroed("anb\0")}},
                    Parsing{"MissingQuoteTakesTheNewline", "\"abc\n", {1, zeroed("abc\n\0")}},
                    Parsing{"BackslashAtTheEndEndsTheText", "\"abc\\", {1, zeroed("abc\0")}},
                    Parsing{"RestAfterTheQuoteIsIgnored", "\"abc\" and \"more\"\n", {1, zeroed("abc\0")}},
                    Parsing{"SingleQuoteIsOrdinary", "\"a'b\"", {1, zeroed("a'b\0")}},
                    Parsing{"OnlyTheOpeningQuote", "\"", {1, zeroed("\0")}},
                    Parsing{"LongerThanAnyLine", "\"" + long_text, {1, long_text + zeroed("\0")}}),
    case_name<Parsing>);

INSTANTIATE_TEST_SUITE_P(
    List, ValueText,
    testing::Values(Parsing{"OneHasAnExtraByte", "'one'\n", {7, zeroed("one\0\0\0")}},
                    Parsing{"ThreeInARow", "'one''two''three'\n", {7, zeroed("one\0two\0three\0\0\0")}},
                    Parsing{"BlanksAndCommasBetweenAreDropped", "'a' , 'b'\n", {7, zeroed("a\0b\0\0\0")}},
                    Parsing{"EmptyStringInside", "'a''''b'", {7, zeroed("a\0\0b\0\0\0")}},
                    Parsing{"OneEmptyString", "''\n", {7, zeroed("\0\0\0")}},
                    Parsing{"EscapedQuoteAndBackslash", R"('a\'b\\c')", {7, zeroed("a'b\\c\0\0\0")}},
                    Parsing{"BackslashBetweenEscapesNothing", R"('a'\'b')", {7, zeroed("a\0b\0\0\0")}},
                    Parsing{"UnterminatedTakesTheNewline", "'a''b\n", {7, zeroed("a\0b\n\0\0")}},
                    Parsing{"BackslashAtTheEnd", "'a\\", {7, zeroed("a\0\0")}},
                    Parsing{"OnlyTheOpeningQuote", "'", {7, zeroed("\0\0")}},
                    Parsing{"LongerThanAnyLine", "'" + long_text + "'", {7, long_text + zeroed("\0\0\0")}}),
    case_name<Parsing>);

INSTANTIATE_TEST_SUITE_P(Number, ValueText,
                         testing::Values(Parsing{"Zero", "0\n", number(0)},
                                         Parsing{"Plain", "42\n", number(42)},
                                         Parsing{"EndsAtTheFirstOtherCharacter", "12 34\n", number(12)},
                                         Parsing{"LeadingZerosAreDecimal", "010\n", number(10)},
                                         Parsing{"HexadecimalEndsAtItsLetter", "0x1F\n", number(0)},
                                         Parsing{"LargestOfAnInt", "2147483647\n", number(0x7FFFFFFF)},
                                         Parsing{"FirstAboveAnInt", "2147483648\n", number(0x80000000)},
                                         Parsing{"LargestOf32Bits", "4294967295\n", number(0xFFFFFFFF)},
                                         Parsing{"LowBitsOfALargerOne", "4294967338\n", number(42)},
                                         Parsing{"LowBitsOfAHugeOne", "18446744073709551658\n", number(42)}),
                         case_name<Parsing>);

INSTANTIATE_TEST_SUITE_P(Hex, ValueText,
                         testing::Values(Parsing{"EitherCaseAndOddDigitDropped", "$0aFf7", {3, "\x0A\xFF"}},
                                         Parsing{"OddDigitBeforeTheNewline", "$0aFf7\n", {3, "\x0A\xFF"}},
                                         Parsing{"ZeroBytesAreRead", "$00FF\n", {3, zeroed("\0\xFF")}},
                                         Parsing{"Nothing", "$\n", {3, ""}},
                                         Parsing{"NothingAtTheEnd", "$", {3, ""}},
                                         Parsing{"StopsAtABlank", "$41 42\n", {3, "A"}},
                                         Parsing{"StopsAtABadFirstDigit", "$41g2\n", {3, "A"}},
                                         Parsing{"StopsAtABadSecondDigit", "$412g\n", {3, "A"}},
                                         Parsing{"AllDigits",
                                                 "$0123456789ABCDEFabcdef",
                                                 {3, "\x01\x23\x45\x67\x89\xAB\xCD\xEF\xAB\xCD\xEF"}}),
                         case_name<Parsing>);

class RefusedText : public testing::TestWithParam<const char*> {};

TEST_P(RefusedText, IsAnInvalidArgumentAndEntersNothing) {
  ARegistryData data;
  EXPECT_TRUE(fails_with(22, [&] { return data.EnterData("n", GetParam()); }));
  EXPECT_EQ(data.EnumData(0), nullptr);
}

INSTANTIATE_TEST_SUITE_P(FirstCharacter, RefusedText,
                         testing::Values("-1\n", " 5\n", "", "\n", "+1", "abc\n", "#1", "\x80", "/", ":"));

TEST(ValueParsers, LeaveTheNameAlone) {
  char name[] = "mine";
  using Parser = int (*)(ARegistryData::Entry&, const char*);
  const std::pair<Parser, const char*> parsers[] = {{ARegistryData::ParseREG_SZ, "\"a\""},
                                                    {ARegistryData::ParseREG_MULTI_SZ, "'a'"},
                                                    {ARegistryData::ParseREG_DWORD, "1"},
                                                    {ARegistryData::ParseREG_BINARY, "$01"}};
  for (const auto& [parse, text] : parsers) {
    ARegistryData::Entry entry;
    entry.name = name;
    EXPECT_EQ(parse(entry, text), 1);
    EXPECT_EQ(entry.name, name);
    std::free(entry.data);
  }
}

TEST(ValueParsers, ReadNothingPastAnEmptyText) {
  ARegistryData::Entry entry;
  ASSERT_EQ(ARegistryData::ParseREG_SZ(entry, ""), 1);
  EXPECT_EQ(entry.size, 1U);
  std::free(entry.data);
  ASSERT_EQ(ARegistryData::ParseREG_MULTI_SZ(entry, ""), 1);
  EXPECT_EQ(entry.size, 2U);
  std::free(entry.data);
  ASSERT_EQ(ARegistryData::ParseREG_BINARY(entry, ""), 1);
  EXPECT_EQ(entry.size, 0U);
  std::free(entry.data);
}

TEST(ValueParsers, RefuseANullText) {
  ARegistryData::Entry entry;
  EXPECT_TRUE(fails_with(14, [&] { return ARegistryData::ParseREG_SZ(entry, nullptr); }));
  EXPECT_TRUE(fails_with(14, [&] { return ARegistryData::ParseREG_MULTI_SZ(entry, nullptr); }));
  EXPECT_TRUE(fails_with(14, [&] { return ARegistryData::ParseREG_DWORD(entry, nullptr); }));
  EXPECT_TRUE(fails_with(14, [&] { return ARegistryData::ParseREG_BINARY(entry, nullptr); }));
  EXPECT_EQ(entry.data, nullptr);
}

}  // namespace
}  // namespace tavtest

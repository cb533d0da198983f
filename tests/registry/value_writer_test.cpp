// The bytes of a value and the line that is written for it.

#include <gtest/gtest.h>

#include <cstring>

#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

char* copy(const std::string& bytes) {
  char* block = static_cast<char*>(std::malloc(bytes.size() + 1));
  std::memcpy(block, bytes.c_str(), bytes.size() + 1);
  return block;
}

/// Enters a value whose block is exactly as long as its bytes.
void enter(ARegistryData& data, const std::string& name, const Value& value) {
  ARegistryData::Entry entry;
  entry.name = copy(name);
  entry.type = value.type;
  entry.size = static_cast<std::uint32_t>(value.bytes.size());
  entry.data = static_cast<unsigned char*>(std::malloc(std::max<std::size_t>(entry.size, 1)));
  std::memcpy(entry.data, value.bytes.data(), entry.size);
  ASSERT_EQ(data.EnterData(entry), 1);
}

std::string written(ARegistryData& data) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* stream = open_memstream(&text, &size);
  EXPECT_EQ(data.WriteData(stream), 1);
  std::fclose(stream);
  std::string result(text, size);
  std::free(text);
  return result;
}

struct Writing {
  const char* name;
  Value value;
  std::string text;

  friend void PrintTo(const Writing& tested, std::ostream* out) { *out << tested.name; }
};

class WrittenValue : public testing::TestWithParam<Writing> {};

TEST_P(WrittenValue, IsALine) {
  ARegistryData data;
  enter(data, "v", GetParam().value);
  EXPECT_EQ(written(data), "v=" + GetParam().text + "\n");
}

std::string number(std::uint32_t value) {
  return {reinterpret_cast<const char*>(&value), sizeof value};
}

INSTANTIATE_TEST_SUITE_P(
    OfType, WrittenValue,
    testing::Values(Writing{"Text", {1, zeroed("abc\0")}, "\"abc\""},
                    Writing{"TextWithQuoteAndBackslash", {1, zeroed("a\"b\\c'd\0")}, R"("a\"b\\c'd")"},
                    Writing{"TextIsCutAtAZeroByte", {1, zeroed("ab\0cd\0")}, "\"ab\""},
                    Writing{"TextWithoutTerminatorEndsWithTheValue", {1, "abc"}, "\"abc\""},
                    Writing{"TextOfNoBytes", {1, ""}, "\"\""},
                    Writing{"TextKeepsANewlineAsItIs", {1, zeroed("a\nb\0")}, "\"a\nb\""},
                    Writing{"NumberZero", {4, number(0)}, "0"},
                    Writing{"NumberIsUnsigned", {4, number(0xFFFFFFFF)}, "4294967295"},
                    Writing{"NumberTakesFourBytesOnly", {4, number(42) + "xxxx"}, "42"},
                    Writing{"ShortNumberIsNotReadPastItsEnd", {4, number(0).substr(0, 2)}, "0"},
                    Writing{"NumberOfNoBytes", {4, ""}, "0"},
                    Writing{"List", {7, zeroed("one\0two\0\0\0")}, "'one''two'"},
                    Writing{"ListWithQuoteAndBackslash", {7, zeroed("a'b\\c\"d\0\0")}, R"('a\'b\\c"d')"},
                    Writing{"ListEndsAtAnEmptyString", {7, zeroed("a\0\0b\0\0\0")}, "'a'"},
                    Writing{"ListWithoutTerminatorsEndsWithTheValue", {7, zeroed("a\0bc")}, "'a''bc'"},
                    Writing{"ListOfNoBytes", {7, ""}, ""},
                    Writing{"ListEndingWithItsLastString", {7, zeroed("ab\0")}, "'ab'"},
                    Writing{"Binary", {3, "\x01\xAB\xFF"}, "$01ABFF"},
                    Writing{"BinaryStopsAtAZeroByte", {3, zeroed("\x01\0\xFF")}, "$01"},
                    Writing{"BinaryThatStartsWithAZeroByte", {3, zeroed("\0\xFF")}, "$"},
                    Writing{"BinaryOfNoBytes", {3, ""}, "$"},
                    Writing{"OtherTypeIsBinary", {2, zeroed("x\0")}, "$78"},
                    Writing{"TypeZeroIsBinary", {0, "x"}, "$78"},
                    Writing{"UnknownTypeIsBinary", {0xFFFFFFFF, "x"}, "$78"}),
    case_name<Writing>);

TEST(ValueWriter, WritesEveryValueInIndexOrder) {
  ARegistryData data;
  enter(data, "z", {4, number(1)});
  enter(data, "a", {1, zeroed("x\0")});
  enter(data, "M", {7, zeroed("y\0\0")});
  EXPECT_EQ(written(data), "z=1\na=\"x\"\nM='y'\n");
}

TEST(ValueWriter, WritesANameWithAnEqualsSignAsGiven) {
  ARegistryData data;
  enter(data, "a=b", {4, number(1)});
  EXPECT_EQ(written(data), "a=b=1\n");
}

TEST(ValueWriter, WritesNothingForNoValues) {
  ARegistryData data;
  EXPECT_EQ(written(data), "");
}

struct ReadBack {
  const char* name;
  const char* text;
  std::string written;

  friend void PrintTo(const ReadBack& tested, std::ostream* out) { *out << tested.name; }
};

class ReadAndWritten : public testing::TestWithParam<ReadBack> {};

TEST_P(ReadAndWritten, GivesTheSameLineOrItsShortForm) {
  ARegistryData data;
  ASSERT_EQ(data.EnterData("v", GetParam().text), 1);
  EXPECT_EQ(written(data), "v=" + GetParam().written + "\n");
}

INSTANTIATE_TEST_SUITE_P(Text, ReadAndWritten,
                         testing::Values(ReadBack{"EscapedQuote", "\"a\\\"b\"\n", "\"a\\\"b\""},
                                         ReadBack{"List", "'a' , 'b'\n", "'a''b'"},
                                         ReadBack{"BinaryWithAZeroByte", "$00FF\n", "$"},
                                         ReadBack{"NumberAboveAnInt", "4294967295\n", "4294967295"},
                                         ReadBack{"LowerCaseHex", "$0aff\n", "$0AFF"}),
                         case_name<ReadBack>);

TEST(ValueWriter, TellsAboutANullStream) {
  ARegistryData data;
  EXPECT_TRUE(fails_with(14, [&] { return data.WriteData(nullptr); }));
}

TEST(ValueWriter, LeavesErrorsInTheStream) {
  ARegistryData data;
  enter(data, "v", {4, number(1)});
  std::FILE* full = std::fopen("/dev/full", "w");
  ASSERT_NE(full, nullptr);
  std::setbuf(full, nullptr);
  EXPECT_EQ(data.WriteData(full), 1);
  EXPECT_NE(std::ferror(full), 0);
  std::fclose(full);
}

}  // namespace
}  // namespace tavtest

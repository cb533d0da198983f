#include "tavsim/entries_file.h"

#include <gtest/gtest.h>

#include <sstream>

#include "support/temp_folder.h"
#include "tavsim/input_error.h"

namespace tavsim {
namespace {

std::vector<Entry> read(const std::string& json) {
  std::istringstream input(json);
  return read_entries(input);
}

std::string error_of(const std::string& json) {
  try {
    read(json);
  } catch (const InputError& bad) {
    return bad.what();
  }
  return "no error";
}

TEST(EntriesFile, ReadsEveryField) {
  const auto entries =
      read(R"([{"user": "anna", "string2": "Ä€", "string3": "", "address": "10.1.2.3", "word7": 7,
    "flag8": true, "word9": 9, "word10": 10, "word11": 11, "word12": 12, "word13": 13, "word14": 4294967295,
    "tag": 1, "data": "00fFa1"}])");
  Entry expected;
  expected.tag = 1;
  expected.user = u"anna";
  expected.string2 = u"\u00c4\u20ac";
  expected.data = {0x00, 0xff, 0xa1};
  expected.address = 0x0302010a;
  expected.word7 = 7;
  expected.flag8 = 1;
  expected.word9 = 9;
  expected.word10 = 10;
  expected.word11 = 11;
  expected.word12 = 12;
  expected.word13 = 13;
  expected.word14 = 0xffffffff;
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0], expected);
}

TEST(EntriesFile, FieldsButTheAddressMayBeLeftOut) {
  const auto entries = read(R"([{"address": "0.0.0.0"}, {"address": "0.0.0.0", "flag8": 4}])");
  ASSERT_EQ(entries.size(), 2U);
  EXPECT_EQ(entries[0], Entry{});
  EXPECT_EQ(entries[1].flag8, 4U);
}

TEST(EntriesFile, AnEmptyListIsAList) {
  EXPECT_TRUE(read("[]").empty());
}

// An entry of which `extra` is the bad part, behind a good one.
std::string second_entry(const std::string& extra) {
  return R"([{"address": "1.2.3.4"}, {"address": "1.2.3.5", )" + extra + "}]";
}

struct BadField {
  const char* name;
  const char* json;
  const char* error;

  friend void PrintTo(const BadField& shown, std::ostream* output) { *output << shown.name; }
};

class BadEntry : public testing::TestWithParam<BadField> {};

TEST_P(BadEntry, IsNamedWithItsNumberAndField) {
  EXPECT_EQ(error_of(second_entry(GetParam().json)), std::string("entry 2: ") + GetParam().error);
}

constexpr const char* number_wanted = "field \"word7\": must be a whole number from 0 to 4294967295";

INSTANTIATE_TEST_SUITE_P(
    Fields, BadEntry,
    testing::Values(BadField{"UserNoText", R"("user": 5)", "field \"user\": must be a text"},
                    BadField{"UserNull", R"("user": null)", "field \"user\": must be a text"},
                    BadField{"UserBeyondBmp", R"("user": "\ud83d\ude00")",
                             "field \"user\": has a character above U+FFFF"},
                    BadField{"AddressShort", R"("address": "10.1.2")",
                             "field \"address\": must be a dotted quad"},
                    BadField{"AddressNumber", R"("address": 10)", "field \"address\": must be a text"},
                    BadField{"AddressWithNul", R"("address": "1.2.3.4\u0000")",
                             "field \"address\": must be a dotted quad"},
                    BadField{"WordNegative", R"("word7": -1)", number_wanted},
                    BadField{"WordTooLarge", R"("word7": 4294967296)", number_wanted},
                    BadField{"WordFraction", R"("word7": 1.5)", number_wanted},
                    BadField{"WordText", R"("word7": "7")", number_wanted},
                    BadField{"FlagText", R"("flag8": "yes")",
                             "field \"flag8\": must be a whole number from 0 to 4294967295"},
                    BadField{"DataOdd", R"("data": "abc")", "field \"data\": must be pairs of hex digits"},
                    BadField{"DataNoHex", R"("data": "0g")", "field \"data\": must be pairs of hex digits"},
                    BadField{"Unknown", R"("word8": 1)", "field \"word8\": unknown"}),
    [](const auto& test) { return test.param.name; });

TEST(EntriesFile, RefusesWhatIsNoListOfObjectsWithAddresses) {
  EXPECT_EQ(error_of("{}"), "must be an array of entries");
  EXPECT_EQ(error_of("[7]"), "entry 1: must be an object");
  EXPECT_EQ(error_of(R"([{"user": "a"}])"), "entry 1: field \"address\": missing");
  EXPECT_EQ(error_of("[").substr(0, 8), "not JSON");
  EXPECT_EQ(error_of("").substr(0, 8), "not JSON");
  EXPECT_EQ(error_of("[{\"address\": \"1.1.1.1\", \"user\": \"\xff\"}]").substr(0, 8), "not JSON");
}

// 100 bytes and four for each of 999 characters are 4096.
TEST(EntriesFile, RefusesAnEntryThatNoPacketCanCarry) {
  const auto with_user = [](std::size_t length) {
    return R"([{"address": "1.1.1.1", "user": ")" + std::string(length, 'x') + R"("}])";
  };
  EXPECT_EQ(read(with_user(999))[0].user.size(), 999U);
  EXPECT_EQ(error_of(with_user(1000)), "entry 1: needs 4100 bytes, and a packet has 4096");
}

TEST(EntriesFile, ErrorsNameTheFile) {
  const tavtest::TempFolder folder;
  const std::string path = folder.file("users.json");
  const auto load_error = [](const std::string& file) {
    try {
      load_entries(file);
    } catch (const InputError& bad) {
      return std::string(bad.what());
    }
    return std::string("no error");
  };
  EXPECT_EQ(load_error(path), path + ": No such file or directory");
  EXPECT_EQ(load_error(folder.path()).find(folder.path().string() + ": "), 0U);
  tavtest::write_file(path, "[7]");
  EXPECT_EQ(load_error(path), path + ": entry 1: must be an object");
}

TEST(EntriesFile, TheSampleUsersAreReadableAndOneIsLoggedOut) {
  const auto entries = load_entries(SAMPLE_USERS);
  EXPECT_EQ(entries.size(), 12U);
  EXPECT_EQ(
      std::count_if(entries.begin(), entries.end(), [](const Entry& entry) { return entry.word12 != 0; }), 1);
}

}  // namespace
}  // namespace tavsim

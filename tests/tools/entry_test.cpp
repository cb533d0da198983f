#include "tavsim/entry.h"

#include <gtest/gtest.h>

#include <functional>

namespace tavsim {
namespace {

constexpr std::uint32_t every_bit = 0x7ff;

struct FieldChange {
  const char* name;
  std::uint32_t bit;  // 0: no bit selects the field.
  std::function<void(Entry&)> change;

  friend void PrintTo(const FieldChange& shown, std::ostream* output) { *output << shown.name; }
};

class MatchField : public testing::TestWithParam<FieldChange> {};

TEST_P(MatchField, ADifferenceCountsExactlyWhenItsBitIsSet) {
  Entry changed;
  GetParam().change(changed);
  EXPECT_TRUE(matches(Entry{}, changed, ~GetParam().bit));
  EXPECT_EQ(matches(Entry{}, changed, every_bit), GetParam().bit == 0);
  EXPECT_EQ(matches(Entry{}, changed, GetParam().bit), GetParam().bit == 0);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, MatchField,
    testing::Values(FieldChange{"User", 0x001, [](Entry& entry) { entry.user = u"x"; }},
                    FieldChange{"String2", 0x002, [](Entry& entry) { entry.string2 = u"x"; }},
                    FieldChange{"String3", 0x004, [](Entry& entry) { entry.string3 = u"x"; }},
                    FieldChange{"Data", 0x008, [](Entry& entry) { entry.data = {0}; }},
                    FieldChange{"Address", 0x010, [](Entry& entry) { entry.address = 1; }},
                    FieldChange{"Word7", 0x020, [](Entry& entry) { entry.word7 = 1; }},
                    FieldChange{"Flag8", 0x040, [](Entry& entry) { entry.flag8 = 1; }},
                    FieldChange{"Word9", 0x080, [](Entry& entry) { entry.word9 = 1; }},
                    FieldChange{"Word10", 0x100, [](Entry& entry) { entry.word10 = 1; }},
                    FieldChange{"Word11", 0x200, [](Entry& entry) { entry.word11 = 1; }},
                    FieldChange{"Word12", 0x400, [](Entry& entry) { entry.word12 = 1; }},
                    FieldChange{"Word13Never", 0, [](Entry& entry) { entry.word13 = 1; }},
                    FieldChange{"Word14Never", 0, [](Entry& entry) { entry.word14 = 1; }},
                    FieldChange{"TagNever", 0, [](Entry& entry) { entry.tag = 1; }}),
    [](const auto& test) { return test.param.name; });

TEST(EntryMatch, FlagsMatchAsTrueOrFalse) {
  Entry one;
  one.flag8 = 1;
  Entry many;
  many.flag8 = 0x80000000;
  EXPECT_TRUE(matches(one, many, match_flag8));
}

TEST(EntryMatch, DataMatchesByContent) {
  Entry left;
  left.data = {1, 2};
  Entry right = left;
  EXPECT_TRUE(matches(left, right, match_data));
  right.data = {1, 3};
  EXPECT_FALSE(matches(left, right, match_data));
}

TEST(EntryMatch, TextsMatchInTheFormInWhichClientsReceiveThem) {
  EXPECT_TRUE(same_text(u"o'brien \"z\"", u"O.BRIEN .Z."));
  EXPECT_TRUE(same_text(u"größe ÷ àþ", u"GRÖßE ÷ ÀÞ"));
}

TEST(EntryMatch, OtherTextsDiffer) {
  EXPECT_FALSE(same_text(u"anna", u"ann"));
  EXPECT_FALSE(same_text(u"anna", u"annb"));
  EXPECT_FALSE(same_text(u"[", u"{"));
  EXPECT_FALSE(same_text(u"÷", u"×"));
}

}  // namespace
}  // namespace tavsim

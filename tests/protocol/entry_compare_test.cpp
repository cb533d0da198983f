#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "protocol/entry_widths.h"

namespace {

using tavtest::CallerEntry;
using tavtest::widen;

constexpr unsigned kAll = 0x7FF;

template <class TypeParam>
class EntryCompare : public ::testing::Test {
 protected:
  CallerEntry<TypeParam> a;
  CallerEntry<TypeParam> b;
  unsigned char block[4] = {1, 2, 3, 4};

  /// Two entries that match under every bit, in texts of their own and one shared block.
  void SetUp() override {
    for (auto* caller : {&a, &b}) {
      caller->user("user").string2("second").string3("third");
      caller->entry.data = block;
      caller->entry.dataLength = 4;
      caller->entry.address = 0x7F000001;
      caller->entry.word7 = 7;
      caller->entry.flag8 = 1;
      caller->entry.word9 = 9;
      caller->entry.word10 = 10;
      caller->entry.word11 = 11;
      caller->entry.word12 = 12;
    }
  }

  int compare(unsigned mask) {
    const int result = TypeParam::compare(a.entry, b.entry, mask);
    EXPECT_EQ(TypeParam::compare(b.entry, a.entry, mask), result) << "the order of the two does not matter";
    return result;
  }

  /// The entries differ in what `bit` selects and nothing else.
  void expect_only(unsigned bit) {
    EXPECT_EQ(compare(bit), 0);
    EXPECT_EQ(compare(kAll), 0);
    EXPECT_EQ(compare(0xFFFFFFFF), 0);
    EXPECT_EQ(compare(~bit), 1);
  }
};

TYPED_TEST_SUITE(EntryCompare, tavtest::Widths);

TYPED_TEST(EntryCompare, EqualEntriesMatchUnderEveryMask) {
  for (unsigned mask : {0U, kAll, 0xFFFFFFFFU, 0x10010U})
    EXPECT_EQ(this->compare(mask), 1) << mask;
  for (unsigned bit = 1; bit != 0; bit <<= 1)
    EXPECT_EQ(this->compare(bit), 1) << bit;
}

TYPED_TEST(EntryCompare, EachWordHasItsBit) {
  using Entry = typename TypeParam::Entry;
  const struct {
    std::uint32_t Entry::*field;
    unsigned bit;
  } words[] = {{&Entry::address, 0x010}, {&Entry::word7, 0x020},  {&Entry::word9, 0x080},
               {&Entry::word10, 0x100},  {&Entry::word11, 0x200}, {&Entry::word12, 0x400}};
  for (const auto& word : words) {
    const std::uint32_t before = this->b.entry.*word.field;
    for (std::uint32_t flip : {1U, 0x80000000U}) {
      this->b.entry.*word.field = before ^ flip;
      this->expect_only(word.bit);
    }
    this->b.entry.*word.field = before;
  }
}

TYPED_TEST(EntryCompare, EachTextHasItsBit) {
  using Entry = typename TypeParam::Entry;
  const struct {
    typename TypeParam::Char* Entry::*field;
    unsigned bit;
  } texts[] = {{&Entry::user, 0x001}, {&Entry::string2, 0x002}, {&Entry::string3, 0x004}};
  for (const auto& text : texts) {
    auto*& a_text = this->a.entry.*text.field;
    auto*& b_text = this->b.entry.*text.field;
    auto* const a_before = a_text;
    auto* const b_before = b_text;
    this->b.set(b_text, widen<TypeParam>("other"));
    this->expect_only(text.bit);
    auto upper = std::basic_string(b_before);
    upper[0] = static_cast<typename TypeParam::Char>(upper[0] - 'a' + 'A');
    this->b.set(b_text, upper);  // case matters
    this->expect_only(text.bit);
    this->b.set(b_text, {});
    this->expect_only(text.bit);
    b_text = nullptr;
    this->expect_only(text.bit);
    this->a.set(a_text, {});  // null does not match an empty text
    this->expect_only(text.bit);
    a_text = nullptr;
    EXPECT_EQ(this->compare(kAll), 1) << "two null texts match";
    a_text = a_before;
    b_text = b_before;
  }
}

TYPED_TEST(EntryCompare, FlagIsTrueOrFalse) {
  this->a.entry.flag8 = 2;
  this->b.entry.flag8 = 0x80000000;
  EXPECT_EQ(this->compare(0x040), 1);
  this->b.entry.flag8 = 0;
  this->expect_only(0x040);
  this->a.entry.flag8 = 0;
  EXPECT_EQ(this->compare(0x040), 1);
}

TYPED_TEST(EntryCompare, EqualBytesInTwoBlocksDoNotMatch) {
  unsigned char same[4] = {1, 2, 3, 4};
  this->b.entry.data = same;
  this->expect_only(0x008);
}

TYPED_TEST(EntryCompare, OneBlockWithTwoLengthsDoesNotMatch) {
  this->b.entry.dataLength = 3;
  this->expect_only(0x008);
}

TYPED_TEST(EntryCompare, NullBlockMatchesOnlyNull) {
  this->b.entry.data = nullptr;
  this->expect_only(0x008);
  this->a.entry.data = nullptr;
  EXPECT_EQ(this->compare(0x008), 1);
  this->b.entry.dataLength = 0xFFFFFFFF;
  EXPECT_EQ(this->compare(0x008), 1) << "without blocks the lengths are not looked at";
}

TYPED_TEST(EntryCompare, OtherFieldsAndHigherBitsNeverCount) {
  this->b.entry.tag = 0xFFFF;
  this->b.entry.word13 = 0xFFFF;
  this->b.entry.word14 = 0xFFFF;
  this->b.entry.userLength = 0xFFFF;
  this->b.entry.string2Length = 0xFFFF;
  this->b.entry.string3Length = 0xFFFF;
  EXPECT_EQ(this->compare(0xFFFFFFFF), 1);
}

TYPED_TEST(EntryCompare, MaskOfALookUpSelectsTheAddress) {
  this->b.user("nobody").entry.word12 = 1;
  EXPECT_EQ(this->compare(0x10010), 1);
  this->b.entry.address ^= 1;
  EXPECT_EQ(this->compare(0x10010), 0);
}

TYPED_TEST(EntryCompare, WithoutBitsEverythingMatches) {
  this->b.entry = {};
  EXPECT_EQ(this->compare(0), 1);
  EXPECT_EQ(this->compare(0xFFFFF800), 1);
}

}  // namespace

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "protocol/entry_widths.h"

// Deep copies, and what releases them.

namespace {

using tavtest::CallerEntry;
using tavtest::codes;
using tavtest::OwnedEntry;
using tavtest::owns_nothing;

template <class Entry>
void set_scalars(Entry& entry) {
  entry.tag = 1;
  entry.address = 6;
  entry.word7 = 7;
  entry.flag8 = 0x88;
  entry.word9 = 9;
  entry.word10 = 10;
  entry.word11 = 11;
  entry.word12 = 12;
  entry.word13 = 13;
  entry.word14 = 14;
}

template <class Entry>
void expect_scalars(const Entry& entry) {
  EXPECT_EQ(entry.tag, 1U);
  EXPECT_EQ(entry.address, 6U);
  EXPECT_EQ(entry.word7, 7U);
  EXPECT_EQ(entry.flag8, 0x88U);
  EXPECT_EQ(entry.word9, 9U);
  EXPECT_EQ(entry.word10, 10U);
  EXPECT_EQ(entry.word11, 11U);
  EXPECT_EQ(entry.word12, 12U);
  EXPECT_EQ(entry.word13, 13U);
  EXPECT_EQ(entry.word14, 14U);
}

template <class TypeParam>
class EntryDup : public ::testing::Test {
 protected:
  CallerEntry<TypeParam> source;
  OwnedEntry<TypeParam> copy;
};

TYPED_TEST_SUITE(EntryDup, tavtest::Widths);

TYPED_TEST(EntryDup, CopiesWordsTextsAndBlock) {
  this->source.user("o'Brien").string2("").string3("third").data(std::string("a\0b", 3));
  set_scalars(this->source.entry);
  ASSERT_EQ(TypeParam::dup(this->copy.target(), this->source.entry), 1);
  expect_scalars(this->copy.entry);
  EXPECT_EQ(codes(this->copy->user), U"o'Brien");
  EXPECT_EQ(codes(this->copy->string2), U"");
  EXPECT_EQ(codes(this->copy->string3), U"third");
  ASSERT_EQ(this->copy->dataLength, 3U);
  EXPECT_EQ(std::memcmp(this->copy->data, "a\0b", 3), 0);
}

TYPED_TEST(EntryDup, SharesNoMemoryWithItsSource) {
  this->source.user("u").string2("").string3("s").data("d");
  ASSERT_EQ(TypeParam::dup(this->copy.target(), this->source.entry), 1);
  EXPECT_NE(this->copy->user, this->source.entry.user);
  EXPECT_NE(this->copy->string2, this->source.entry.string2);
  EXPECT_NE(this->copy->string3, this->source.entry.string3);
  EXPECT_NE(this->copy->data, this->source.entry.data);
}

TYPED_TEST(EntryDup, TextsGetFreshCachedLengths) {
  this->source.user("four").string2("").string3("sixsix");
  this->source.entry.userLength = 1;
  this->source.entry.string2Length = 99;
  ASSERT_EQ(TypeParam::dup(this->copy.target(), this->source.entry), 1);
  EXPECT_EQ(this->copy->userLength, 4U);
  EXPECT_EQ(this->copy->string2Length, 0U);
  EXPECT_EQ(this->copy->string3Length, 6U);
}

TYPED_TEST(EntryDup, NullTextKeepsTheCachedLengthOfItsSource) {
  this->source.entry.userLength = 5;
  this->source.entry.string2Length = 6;
  this->source.entry.string3Length = 7;
  ASSERT_EQ(TypeParam::dup(this->copy.target(), this->source.entry), 1);
  EXPECT_TRUE(owns_nothing(this->copy.entry));
  EXPECT_EQ(this->copy->userLength, 5U);
  EXPECT_EQ(this->copy->string2Length, 6U);
  EXPECT_EQ(this->copy->string3Length, 7U);
}

TYPED_TEST(EntryDup, BlockOfNoLengthIsNotCopied) {
  this->source.data("bytes").entry.dataLength = 0;
  ASSERT_EQ(TypeParam::dup(this->copy.target(), this->source.entry), 1);
  EXPECT_EQ(this->copy->data, nullptr);
}

TYPED_TEST(EntryDup, NullBlockIsNoneWhateverItsLengthSays) {
  this->source.user("u").entry.dataLength = 1000;
  ASSERT_EQ(TypeParam::dup(this->copy.target(), this->source.entry), 1);
  EXPECT_EQ(this->copy->data, nullptr);
  EXPECT_EQ(this->copy->dataLength, 1000U) << "every word is copied";
  EXPECT_EQ(codes(this->copy->user), U"u");
}

TYPED_TEST(EntryDup, FreeingACopyNullsItsPointersAndKeepsItsOtherFields) {
  this->source.user("user").string2("2").string3("three").data("block");
  set_scalars(this->source.entry);
  ASSERT_EQ(TypeParam::dup(this->copy.target(), this->source.entry), 1);
  DeMarshalFreeStrings(this->copy.entry);
  EXPECT_TRUE(owns_nothing(this->copy.entry));
  expect_scalars(this->copy.entry);
  EXPECT_EQ(this->copy->userLength, 4U);
  EXPECT_EQ(this->copy->string2Length, 1U);
  EXPECT_EQ(this->copy->string3Length, 5U);
  EXPECT_EQ(this->copy->dataLength, 5U);
  DeMarshalFreeStrings(this->copy.entry);
  EXPECT_TRUE(owns_nothing(this->copy.entry)) << "freeing twice is freeing once";
}

TYPED_TEST(EntryDup, FreeingReleasesEachPointerAlone) {
  for (int field = 0; field < 4; ++field) {
    typename TypeParam::Entry entry{};
    auto* text = static_cast<typename TypeParam::Char*>(std::calloc(4, sizeof(typename TypeParam::Char)));
    if (field == 0) entry.user = text;
    if (field == 1) entry.string2 = text;
    if (field == 2) entry.string3 = text;
    if (field == 3) entry.data = reinterpret_cast<unsigned char*>(text);
    DeMarshalFreeStrings(entry);  // a leak, or a second release, ends the run under a sanitizer
    EXPECT_TRUE(owns_nothing(entry));
  }
}

}  // namespace

#include <gtest/gtest.h>
#include <tavlib/registry/registry_key_list.h>

#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

struct TestList : ARegistryKeyList {
  using ARegistryKeyList::capacity;
  using ARegistryKeyList::count;
  using ARegistryKeyList::entries;

  TestList() = default;
  explicit TestList(const Names& names) {
    for (const std::string& name : names)
      EXPECT_EQ(Enter(name.c_str()), 1);
  }

  Names names() const { return {entries, entries + count}; }
};

TEST(KeyList, IsZeroWhenEmpty) {
  TestList list;
  EXPECT_EQ(list.entries, nullptr);
  EXPECT_EQ(list.count, 0U);
  EXPECT_EQ(list.capacity, 0U);
  errno = 0;
  EXPECT_EQ(list.Enum(0), nullptr);
  EXPECT_EQ(errno, 0);
}

TEST(KeyList, HasItsFieldsInOrder) {
  TestList list;
  EXPECT_LT(static_cast<void*>(&list.entries), static_cast<void*>(&list.count));
  EXPECT_LT(&list.count, &list.capacity);
}

TEST(KeyList, EntersCopiesAndGrowsByTen) {
  TestList list;
  std::string name = "A\\";
  for (unsigned i = 0; i < 11; ++i) {
    ASSERT_EQ(list.Enter(name.c_str()), 1);
    EXPECT_EQ(list.capacity, i < 10 ? 10U : 20U);
    ++name[0];
  }
  EXPECT_STREQ(list.Enum(0), "A\\");
  EXPECT_STREQ(list.Enum(10), "K\\");
  EXPECT_EQ(list.Enum(11), nullptr);
}

TEST(KeyList, SortsOnlyWhatHasStorage) {
  TestList list;
  EXPECT_EQ(list.Sort(), 0);
  ASSERT_EQ(list.Enter("A\\"), 1);
  EXPECT_EQ(list.Sort(), 1);
  ASSERT_EQ(list.Delete("A\\"), 1);
  EXPECT_EQ(list.Sort(), 1);
}

TEST(KeyList, KeepsFileOrderWhenSorted) {
  const Names order{"z\\", "B\\", "a\\", "a\\x\\", "m\\", "A\\", "9\\"};
  TestList list(order);
  EXPECT_EQ(list.Sort(), 1);
  EXPECT_EQ(list.names(), order);
}

TEST(KeyList, ComparesSlotsByTheirPlace) {
  TestList list({"z\\", "a\\"});
  EXPECT_LT(ARegistryKeyList::KeySortCompare(&list.entries[0], &list.entries[1]), 0);
  EXPECT_GT(ARegistryKeyList::KeySortCompare(&list.entries[1], &list.entries[0]), 0);
  EXPECT_EQ(ARegistryKeyList::KeySortCompare(&list.entries[1], &list.entries[1]), 0);
}

TEST(KeyList, DeletesWithoutRegardToCaseAndKeepsTheOrder) {
  TestList list({"a\\", "B\\", "c\\"});
  EXPECT_EQ(list.Delete("b\\"), 1);
  EXPECT_EQ(list.names(), (Names{"a\\", "c\\"}));
}

TEST(KeyList, HasNoSuchEntryToDelete) {
  TestList list({"a\\", "ab\\"});
  EXPECT_TRUE(fails_with(2, [&] { return list.Delete("b\\"); }));
  EXPECT_TRUE(fails_with(2, [&] { return list.Delete("abc\\"); }));
  EXPECT_EQ(list.names(), (Names{"a\\", "ab\\"}));
}

TEST(KeyList, DoesNotDeleteWhatHasSomethingBelow) {
  for (const Names& names : {Names{"a\\", "a\\x\\"}, Names{"a\\x\\", "a\\"}, Names{"A\\X\\"}}) {
    TestList list(names);
    EXPECT_TRUE(fails_with(13, [&] { return list.Delete("a\\"); }));
    EXPECT_EQ(list.names(), names);
  }
}

TEST(KeyList, DoesNotDeleteWhatTheNextEntryRepeats) {
  TestList list({"a\\", "A\\", "b\\"});
  EXPECT_TRUE(fails_with(13, [&] { return list.Delete("a\\"); }));
  EXPECT_EQ(list.count, 3U);
}

TEST(KeyList, DoesNotDeleteWhatTheNextEntryIsABeginningOf) {
  TestList list({"a\\b\\", "a\\", "c\\"});
  EXPECT_TRUE(fails_with(13, [&] { return list.Delete("a\\b\\"); }));
  EXPECT_EQ(list.count, 3U);
}

TEST(KeyList, DeletesTheLastOfTwoThatStandApart) {
  TestList list({"a\\", "b\\", "A\\", "c\\"});
  EXPECT_EQ(list.Delete("a\\"), 1);
  EXPECT_EQ(list.names(), (Names{"a\\", "b\\", "c\\"}));
}

TEST(KeyList, DeletesTheLastEntry) {
  TestList list({"a\\", "b\\"});
  EXPECT_EQ(list.Delete("b\\"), 1);
  EXPECT_EQ(list.Delete("a\\"), 1);
  EXPECT_EQ(list.count, 0U);
  EXPECT_TRUE(fails_with(2, [&] { return list.Delete("a\\"); }));
}

TEST(KeyList, HasABadAddressForNullPointers) {
  TestList list({"a\\"});
  EXPECT_TRUE(fails_with(14, [&] { return list.Enter(nullptr); }));
  EXPECT_TRUE(fails_with(14, [&] { return list.Delete(nullptr); }));
}

}  // namespace
}  // namespace tavtest

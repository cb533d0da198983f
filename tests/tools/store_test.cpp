#include "tavsim/store.h"

#include <gtest/gtest.h>

namespace tavsim {
namespace {

Entry entry_of(const char16_t* user, std::uint32_t address) {
  Entry entry;
  entry.user = user;
  entry.address = address;
  return entry;
}

Store three_entries() {
  return Store({entry_of(u"a", 1), entry_of(u"b", 2), entry_of(u"A", 3)});
}

// What a client does: each entry received is the next cursor.
std::vector<std::uint32_t> addresses(const Store& store, Entry cursor, std::uint32_t mask) {
  std::vector<std::uint32_t> found;
  while (const auto entry = store.next(cursor, mask)) {
    found.push_back(entry->address);
    cursor = *entry;
  }
  return found;
}

TEST(Store, WithoutMaskEveryEntryIsGivenOutOnceInOrder) {
  EXPECT_EQ(addresses(three_entries(), Entry{}, 0), (std::vector<std::uint32_t>{1, 2, 3}));
}

TEST(Store, TheMaskSelectsTheFieldsThatMustMatch) {
  EXPECT_EQ(addresses(three_entries(), entry_of(u"a", 9), match_user), (std::vector<std::uint32_t>{1, 3}));
  EXPECT_EQ(addresses(three_entries(), entry_of(u"", 2), 0x10010), (std::vector<std::uint32_t>{2}));
  EXPECT_TRUE(addresses(three_entries(), entry_of(u"a", 2), match_user | match_address).empty());
}

TEST(Store, AnEntryGivenOutCarriesThePositionBehindIt) {
  const auto entry = three_entries().next(entry_of(u"", 2), match_address);
  ASSERT_TRUE(entry.has_value());
  EXPECT_EQ(entry->word13, 2U);
}

TEST(Store, ACursorAtOrPastTheEndFindsNothing) {
  for (const std::uint32_t position : {3U, 4U, 0xffffffffU}) {
    Entry cursor;
    cursor.word13 = position;
    EXPECT_FALSE(three_entries().next(cursor, 0).has_value()) << position;
  }
}

TEST(Store, AnAddedEntryComesLast) {
  Store store = three_entries();
  EXPECT_FALSE(store.add(entry_of(u"a", 4)));
  EXPECT_EQ(addresses(store, Entry{}, 0), (std::vector<std::uint32_t>{1, 2, 3, 4}));
}

TEST(Store, AnAddedEntryReplacesTheOneWithItsUserAndAddress) {
  Store store = three_entries();
  Entry entry = entry_of(u"B", 2);
  entry.tag = 5;
  EXPECT_TRUE(store.add(entry));
  EXPECT_EQ(store.size(), 3U);
  EXPECT_EQ(store.next(entry_of(u"", 2), match_address)->tag, 5U);
}

}  // namespace
}  // namespace tavsim

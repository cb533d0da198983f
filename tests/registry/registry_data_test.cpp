#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

struct TestData : ARegistryData {
  using ARegistryData::capacity;
  using ARegistryData::count;
  using ARegistryData::entries;
};

Names names_of(ARegistryData& data) {
  Names names;
  for (unsigned i = 0; const ARegistryData::Entry* entry = data.EnumData(i); ++i)
    names.emplace_back(entry->name);
  return names;
}

ARegistryData::Entry make_entry(const char* name, const char* text) {
  ARegistryData::Entry entry;
  entry.name = strdup(name);
  entry.type = REG_SZ;
  entry.data = reinterpret_cast<unsigned char*>(strdup(text));
  entry.size = static_cast<std::uint32_t>(std::strlen(text) + 1);
  return entry;
}

const char* text_of(ARegistryData& data, const char* name) {
  return reinterpret_cast<const char*>(data.GetData(name)->data);
}

TEST(RegistryData, IsZeroWhenEmpty) {
  TestData data;
  EXPECT_EQ(data.entries, nullptr);
  EXPECT_EQ(data.count, 0U);
  EXPECT_EQ(data.capacity, 0U);
}

TEST(RegistryData, HasItsFieldsInOrder) {
  using Entry = ARegistryData::Entry;
  EXPECT_LT(offsetof(Entry, name), offsetof(Entry, type));
  EXPECT_LT(offsetof(Entry, type), offsetof(Entry, data));
  EXPECT_LT(offsetof(Entry, data), offsetof(Entry, size));
  TestData data;
  EXPECT_LT(static_cast<void*>(&data.entries), static_cast<void*>(&data.count));
  EXPECT_LT(&data.count, &data.capacity);
}

TEST(RegistryData, GrowsByTen) {
  TestData data;
  for (int i = 0; i < 21; ++i) {
    ASSERT_EQ(data.EnterData(("v" + std::to_string(i)).c_str(), "1"), 1);
    EXPECT_EQ(data.count, static_cast<unsigned>(i) + 1);
    EXPECT_EQ(data.capacity, i < 10 ? 10U : i < 20 ? 20U : 30U);
  }
  EXPECT_STREQ(data.EnumData(0)->name, "v0");
  EXPECT_STREQ(data.EnumData(20)->name, "v20");
}

TEST(RegistryData, KeepsTheOrderOfEntering) {
  ARegistryData data;
  for (const char* name : {"z", "A", "m", "b"})
    ASSERT_EQ(data.EnterData(name, "1"), 1);
  EXPECT_EQ(names_of(data), (Names{"z", "A", "m", "b"}));
}

TEST(RegistryData, TakesAnEntryWithItsBlocks) {
  ARegistryData data;
  ARegistryData::Entry entry = make_entry("name", "text");
  ASSERT_EQ(data.EnterData(entry), 1);
  const ARegistryData::Entry* held = data.GetData("name");
  ASSERT_NE(held, nullptr);
  EXPECT_EQ(held->name, entry.name);
  EXPECT_EQ(held->data, entry.data);
  EXPECT_EQ(held->type, 1U);
  EXPECT_EQ(held->size, 5U);
}

TEST(RegistryData, ReplacesInPlaceAValueWhoseNameDiffersInCaseOnly) {
  ARegistryData data;
  for (const char* name : {"a", "Name", "c"})
    ASSERT_EQ(data.EnterData(name, "1"), 1);
  ARegistryData::Entry entry = make_entry("nAME", "new");
  ASSERT_EQ(data.EnterData(entry), 1);
  EXPECT_EQ(names_of(data), (Names{"a", "nAME", "c"}));
  EXPECT_STREQ(text_of(data, "name"), "new");
}

TEST(RegistryData, ReplacesAtOddPositionsToo) {
  ARegistryData data;
  for (const char* name : {"a", "b", "c", "d"})
    ASSERT_EQ(data.EnterData(name, "\"old\""), 1);
  for (const char* name : {"a", "b", "c", "d"})
    ASSERT_EQ(data.EnterData(name, "\"new\""), 1);
  EXPECT_EQ(names_of(data), (Names{"a", "b", "c", "d"}));
  for (const char* name : {"a", "b", "c", "d"})
    EXPECT_STREQ(text_of(data, name), "new");
}

TEST(RegistryData, TakesAChangedCopyOfAnEntryThatItHolds) {
  ARegistryData data;
  ASSERT_EQ(data.EnterData("v", "\"text\""), 1);
  ARegistryData::Entry copy = *data.GetData("v");
  copy.type = REG_BINARY;
  ASSERT_EQ(data.EnterData(copy), 1);
  ASSERT_EQ(data.EnterData(*data.GetData("v")), 1);
  EXPECT_EQ(data.GetData("v")->type, 3U);
  EXPECT_STREQ(text_of(data, "v"), "text");
  EXPECT_EQ(data.EnumData(1), nullptr);
}

TEST(RegistryData, FindsWithoutRegardToCaseAndSetsNoError) {
  ARegistryData data;
  ASSERT_EQ(data.EnterData("Name", "1"), 1);
  errno = 0;
  EXPECT_EQ(data.GetData("NAME"), data.EnumData(0));
  EXPECT_EQ(data.GetData("nam"), nullptr);
  EXPECT_EQ(data.GetData("names"), nullptr);
  EXPECT_EQ(data.EnumData(1), nullptr);
  EXPECT_EQ(data.EnumData(0xFFFFFFFF), nullptr);
  EXPECT_EQ(errno, 0);
}

TEST(RegistryData, DeletesAtEvenPositionsOnly) {
  ARegistryData data;
  for (const char* name : {"a", "b", "c"})
    ASSERT_EQ(data.EnterData(name, "1"), 1);
  EXPECT_TRUE(fails_with(2, [&] { return data.DeleteData("b"); }));
  EXPECT_EQ(names_of(data), (Names{"a", "b", "c"}));
  EXPECT_EQ(data.DeleteData("c"), 1);
  EXPECT_EQ(names_of(data), (Names{"a", "b"}));
  EXPECT_EQ(data.DeleteData("a"), 1);
  EXPECT_EQ(names_of(data), (Names{"b"}));
}

TEST(RegistryData, DeletesWhatMovedToAnEvenPosition) {
  ARegistryData data;
  for (const char* name : {"a", "b", "c", "d", "e"})
    ASSERT_EQ(data.EnterData(name, "1"), 1);
  EXPECT_TRUE(fails_with(2, [&] { return data.DeleteData("d"); }));
  EXPECT_EQ(data.DeleteData("C"), 1);
  EXPECT_EQ(names_of(data), (Names{"a", "b", "d", "e"}));
  EXPECT_EQ(data.DeleteData("d"), 1);
  EXPECT_TRUE(fails_with(2, [&] { return data.DeleteData("b"); }));
  EXPECT_EQ(names_of(data), (Names{"a", "b", "e"}));
}

TEST(RegistryData, DoesNotDeleteAnUnknownName) {
  ARegistryData data;
  EXPECT_TRUE(fails_with(2, [&] { return data.DeleteData("a"); }));
  ASSERT_EQ(data.EnterData("a", "1"), 1);
  EXPECT_TRUE(fails_with(2, [&] { return data.DeleteData("ab"); }));
}

TEST(RegistryData, EntersAgainAfterDeleting) {
  TestData data;
  ASSERT_EQ(data.EnterData("a", "1"), 1);
  ASSERT_EQ(data.DeleteData("a"), 1);
  ASSERT_EQ(data.EnterData("b", "1"), 1);
  EXPECT_EQ(names_of(data), (Names{"b"}));
  EXPECT_EQ(data.capacity, 10U);
}

TEST(RegistryData, HoldsAnEmptyName) {
  ARegistryData data;
  ASSERT_EQ(data.EnterData("", "1"), 1);
  EXPECT_EQ(names_of(data), (Names{""}));
  EXPECT_EQ(data.GetData(""), data.EnumData(0));
}

TEST(RegistryData, HasABadAddressForNullPointers) {
  ARegistryData data;
  EXPECT_TRUE(fails_with(14, [&] { return data.EnterData(nullptr, "1"); }));
  EXPECT_TRUE(fails_with(14, [&] { return data.EnterData("a", nullptr); }));
  ASSERT_EQ(data.EnterData("a", "1"), 1);
  EXPECT_TRUE(fails_with(14, [&] { return data.DeleteData(nullptr); }));
  EXPECT_EQ(data.GetData(nullptr), nullptr);
}

TEST(RegistryData, ReleasesTheBlocksOfAnEntryWithoutAName) {
  ARegistryData data;
  ARegistryData::Entry entry = make_entry("name", "text");
  std::free(entry.name);
  entry.name = nullptr;
  EXPECT_TRUE(fails_with(14, [&] { return data.EnterData(entry); }));
  EXPECT_EQ(entry.data, nullptr);
}

TEST(RegistryData, TakesAnEntryWithoutDataAsOneOfNoBytes) {
  ARegistryData data;
  ARegistryData::Entry entry;
  entry.name = strdup("v");
  entry.type = REG_BINARY;
  entry.size = 100;
  ASSERT_EQ(data.EnterData(entry), 1);
  EXPECT_EQ(data.GetData("v")->size, 0U);
}

}  // namespace
}  // namespace tavtest

// Reading and changing the values of a loaded key.

#include <gtest/gtest.h>

#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class KeyValues : public RegistryTest {
 protected:
  KeyValues() { write("[A]\nn=42\nText=\"abc\"\nb=$0A\n"); }

  TestKey& loaded(unsigned access) {
    key_.emplace(path);
    EXPECT_EQ(key_->LoadKey("A", 0, access, nullptr), 1);
    return *key_;
  }

  std::optional<TestKey> key_;
};

TEST_F(KeyValues, AreFoundWithTypeAndSizeAndBytes) {
  TestKey& key = loaded(0);
  unsigned type = 0;
  unsigned size = 10;
  unsigned char data[10] = "?????????";
  ASSERT_EQ(key.FindValue("TEXT", &type, &size, data), 1);
  EXPECT_EQ(type, 1U);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(std::string(reinterpret_cast<char*>(data), 6), zeroed("abc\0??"));
}

TEST_F(KeyValues, FitABufferOfTheirSize) {
  TestKey& key = loaded(0);
  unsigned size = 4;
  unsigned char data[4];
  EXPECT_EQ(key.FindValue("text", nullptr, &size, data), 1);
  EXPECT_EQ(size, 4U);
}

TEST_F(KeyValues, AreTooLargeForASmallerBuffer) {
  TestKey& key = loaded(0);
  unsigned type = 0;
  unsigned size = 3;
  unsigned char data[3] = {'?', '?', '?'};
  EXPECT_TRUE(fails_with(79, [&] { return key.FindValue("text", &type, &size, data); }));
  EXPECT_EQ(type, 1U);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(data[0], '?');
  size = 0;
  EXPECT_TRUE(fails_with(79, [&] { return key.FindValue("text", nullptr, &size, data); }));
  EXPECT_EQ(size, 4U);
}

TEST_F(KeyValues, TellTheirSizeWithoutABuffer) {
  TestKey& key = loaded(0);
  unsigned size = 0;
  EXPECT_EQ(key.FindValue("text", nullptr, &size, nullptr), 1);
  EXPECT_EQ(size, 4U);
  EXPECT_EQ(key.FindValue("text", nullptr, nullptr, nullptr), 1);
}

TEST_F(KeyValues, NeedASizeWithABuffer) {
  TestKey& key = loaded(0);
  unsigned type = 0;
  unsigned char data[10];
  EXPECT_TRUE(fails_with(14, [&] { return key.FindValue("text", &type, nullptr, data); }));
  EXPECT_EQ(type, 1U);
  EXPECT_TRUE(fails_with(14, [&] { return key.FindValue(nullptr, &type, nullptr, nullptr); }));
}

TEST_F(KeyValues, AreNoSuchEntryWhenUnknown) {
  TestKey& key = loaded(0);
  unsigned type = 7;
  unsigned size = 7;
  EXPECT_TRUE(fails_with(2, [&] { return key.FindValue("none", &type, &size, nullptr); }));
  EXPECT_EQ(type, 7U);
  EXPECT_EQ(size, 7U);
}

TEST_F(KeyValues, AreNamedInIndexOrder) {
  EXPECT_EQ(value_names(loaded(0)), (Names{"n", "Text", "b"}));
}

TEST_F(KeyValues, TellTheRoomForANameWithANullBuffer) {
  TestKey& key = loaded(0);
  for (const unsigned given : {0U, 4U, 5U, 100U}) {
    unsigned size = given;
    EXPECT_EQ(key.EnumValue(1, nullptr, &size), 1);
    EXPECT_EQ(size, 5U);
  }
}

TEST_F(KeyValues, DoNotTellTheRoomForANameWithASmallBuffer) {
  TestKey& key = loaded(0);
  char name[4] = "???";
  unsigned size = 4;
  EXPECT_TRUE(fails_with(79, [&] { return key.EnumValue(1, name, &size); }));
  EXPECT_EQ(size, 4U);
  EXPECT_STREQ(name, "???");
}

TEST_F(KeyValues, CopyANameAndLeaveTheSizeAlone) {
  TestKey& key = loaded(0);
  char name[10];
  unsigned size = 5;
  EXPECT_EQ(key.EnumValue(1, name, &size), 1);
  EXPECT_STREQ(name, "Text");
  EXPECT_EQ(size, 5U);
  size = 10;
  EXPECT_EQ(key.EnumValue(1, name, &size), 1);
  EXPECT_EQ(size, 10U);
}

TEST_F(KeyValues, HaveNoNamePastTheEnd) {
  TestKey& key = loaded(0);
  unsigned size = 100;
  EXPECT_TRUE(fails_with(2, [&] { return key.EnumValue(3, nullptr, &size); }));
  EXPECT_EQ(size, 100U);
  EXPECT_TRUE(fails_with(14, [&] { return key.EnumValue(0, nullptr, nullptr); }));
}

TEST_F(KeyValues, AreNotThereBeforeLoading) {
  TestKey key(path);
  unsigned size = 0;
  EXPECT_TRUE(fails_with(2, [&] { return key.FindValue("n", nullptr, nullptr, nullptr); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.EnumValue(0, nullptr, &size); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.EnumKey(0, nullptr, &size); }));
  EXPECT_TRUE(fails_with(22, [&] { return set_text(key, "n", "x"); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.DeleteValue("n"); }));
  EXPECT_TRUE(fails_with(13, [&] { return key.DeleteKey("n"); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.Commit(nullptr); }));
  EXPECT_EQ(content(), "[A]\nn=42\nText=\"abc\"\nb=$0A\n");
}

TEST_F(KeyValues, AreSetAndWrittenAtOnce) {
  TestKey& key = loaded(2);
  ASSERT_EQ(set_text(key, "new", "x"), 1);
  EXPECT_EQ(content(), "[A\\]\nn=42\nText=\"abc\"\nb=$0A\nnew=\"x\"\n");
  EXPECT_EQ(find_value(key, "new"), (Value{REG_SZ, zeroed("x\0")}));
}

TEST_F(KeyValues, AreReplacedInTheirPlace) {
  TestKey& key = loaded(2);
  ASSERT_EQ(set_text(key, "TEXT", "x"), 1);
  EXPECT_EQ(content(), "[A\\]\nn=42\nTEXT=\"x\"\nb=$0A\n");
}

TEST_F(KeyValues, AreCopiedFromTheCaller) {
  TestKey& key = loaded(2);
  char name[] = "new";
  unsigned char data[] = {1, 2};
  ASSERT_EQ(key.SetValue(name, REG_BINARY, 2, data), 1);
  name[0] = data[0] = '?';
  EXPECT_EQ(find_value(key, "new"), (Value{REG_BINARY, "\x01\x02"}));
}

TEST_F(KeyValues, OfTypeTwoReadBackAsBinaryWithoutTheZeroByte) {
  TestKey& key = loaded(2);
  ASSERT_EQ(key.SetValue("x", 2, 2, reinterpret_cast<const unsigned char*>("x")), 1);
  EXPECT_EQ(find_value(key, "x"), (Value{2, zeroed("x\0")}));
  EXPECT_EQ(content(), "[A\\]\nn=42\nText=\"abc\"\nb=$0A\nx=$78\n");
  EXPECT_EQ(find_value(loaded(0), "x"), (Value{REG_BINARY, "x"}));
}

TEST_F(KeyValues, WithAnEqualsSignInTheirNameReadBackSplit) {
  TestKey& key = loaded(2);
  const unsigned char number[4] = {};
  ASSERT_EQ(key.SetValue("a=1", REG_DWORD, 4, number), 1);
  EXPECT_EQ(content(), "[A\\]\nn=42\nText=\"abc\"\nb=$0A\na=1=0\n");
  const unsigned one = 1;
  EXPECT_EQ(find_value(loaded(0), "a"),
            (Value{REG_DWORD, std::string(reinterpret_cast<const char*>(&one), sizeof one)}));
}

TEST_F(KeyValues, AboveAnIntReadBack) {
  const unsigned largest = 0xFFFFFFFF;
  ASSERT_EQ(loaded(2).SetValue("n", REG_DWORD, 4, reinterpret_cast<const unsigned char*>(&largest)), 1);
  EXPECT_EQ(content(), "[A\\]\nn=4294967295\nText=\"abc\"\nb=$0A\n");
  EXPECT_EQ(find_value(loaded(0), "n"), (Value{REG_DWORD, "\xFF\xFF\xFF\xFF"}));
}

TEST_F(KeyValues, AreEmptyWithoutData) {
  TestKey& key = loaded(2);
  ASSERT_EQ(key.SetValue("e", REG_SZ, 100, nullptr), 1);
  ASSERT_EQ(key.SetValue("f", REG_DWORD, 0, reinterpret_cast<const unsigned char*>("")), 1);
  EXPECT_EQ(find_value(key, "e"), (Value{REG_SZ, ""}));
  EXPECT_EQ(content(), "[A\\]\nn=42\nText=\"abc\"\nb=$0A\ne=\"\"\nf=0\n");
}

TEST_F(KeyValues, AreNotSetWithoutAName) {
  EXPECT_TRUE(fails_with(14, [&] { return loaded(2).SetValue(nullptr, REG_SZ, 0, nullptr); }));
  EXPECT_TRUE(fails_with(14, [&] { return loaded(2).DeleteValue(nullptr); }));
}

TEST_F(KeyValues, AreNotSetWithoutWriteAccess) {
  for (const unsigned access : {0U, 1U}) {
    TestKey& key = loaded(access);
    EXPECT_TRUE(fails_with(13, [&] { return set_text(key, "new", "x"); }));
    EXPECT_EQ(find_value(key, "new"), std::nullopt);
  }
  EXPECT_EQ(content(), "[A]\nn=42\nText=\"abc\"\nb=$0A\n");
}

TEST_F(KeyValues, AreNotSetOnTheRoot) {
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("", 0, 3, nullptr), 1);
  EXPECT_TRUE(fails_with(22, [&] { return set_text(key, "v", "x"); }));
  TestKey reader(path);
  ASSERT_EQ(reader.LoadKey("", 0, 0, nullptr), 1);
  EXPECT_TRUE(fails_with(22, [&] { return set_text(reader, "v", "x"); }));
}

TEST_F(KeyValues, AreDeletedAtEvenPositionsOnly) {
  TestKey& key = loaded(2);
  EXPECT_TRUE(fails_with(2, [&] { return key.DeleteValue("Text"); }));
  EXPECT_EQ(content(), "[A]\nn=42\nText=\"abc\"\nb=$0A\n");
  EXPECT_EQ(key.DeleteValue("B"), 1);
  EXPECT_EQ(content(), "[A\\]\nn=42\nText=\"abc\"\n");
  EXPECT_EQ(key.DeleteValue("n"), 1);
  EXPECT_EQ(content(), "[A\\]\nText=\"abc\"\n");
}

TEST_F(KeyValues, AreDeletedWithoutWriteAccess) {
  TestKey& key = loaded(1);
  EXPECT_EQ(key.DeleteValue("n"), 1);
  EXPECT_EQ(content(), "[A\\]\nText=\"abc\"\nb=$0A\n");
  EXPECT_EQ(key.DeleteValue("text"), 1);
  EXPECT_EQ(content(), "[A\\]\nb=$0A\n");
}

TEST_F(KeyValues, OfTheRootAreDeletedInMemoryOnly) {
  write("v=1\n[A]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("", 0, 0, nullptr), 1);
  EXPECT_EQ(key.DeleteValue("v"), 1);
  EXPECT_EQ(value_names(key), Names{});
  EXPECT_EQ(content(), "v=1\n[A\\]\n");
}

}  // namespace
}  // namespace tavtest

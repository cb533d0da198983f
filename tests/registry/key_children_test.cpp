// The names below a loaded key, and deleting them.

#include <gtest/gtest.h>

#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class KeyChildren : public RegistryTest {
 protected:
  TestKey& loaded(const char* name, unsigned access = 0) {
    key_.emplace(path);
    EXPECT_EQ(key_->LoadKey(name, 0, access, nullptr), 1);
    return *key_;
  }

  std::optional<TestKey> key_;
};

TEST_F(KeyChildren, AreGivenInFileOrder) {
  write("[K]\n[K\\z]\n[K\\a]\n[Other\\x]\n[K\\M]\n");
  EXPECT_EQ(child_names(loaded("K")), (Names{"z", "a", "M"}));
}

TEST_F(KeyChildren, AreGivenTwiceWithASectionOfTheirOwnAndOneBelow) {
  write("[K\\x]\n[K\\x\\y]\n");
  EXPECT_EQ(child_names(loaded("K")), (Names{"x", "x"}));
}

TEST_F(KeyChildren, AreGivenOnceWhenTheNextSectionRepeatsThem) {
  write("[K\\x]\n[K\\X\\]\n[k\\x]\n[K\\y]\n[K\\x]\n");
  EXPECT_EQ(child_names(loaded("K")), (Names{"x", "y", "x"}));
}

TEST_F(KeyChildren, CompareASkippedSectionWithTheNextOne) {
  write("[K\\x\\\\]\n[K\\x]\n[K\\X\\\\]\n[K\\x]\n");
  // x\\ begins with x\ and goes on with a backslash, so it repeats it; x\ does not begin with x\\. The last
  // one would repeat the one before the skipped one.
  EXPECT_EQ(child_names(loaded("K")), (Names{"x", "x", "x"}));
}

TEST_F(KeyChildren, ExistThroughWhatIsBelowThem) {
  write("[K\\x\\y\\z]\n");
  EXPECT_EQ(child_names(loaded("K")), (Names{"x"}));
}

TEST_F(KeyChildren, TellTheRoomForAName) {
  write("[K\\name\\below]\n");
  TestKey& key = loaded("K");
  unsigned size = 0;
  EXPECT_EQ(key.EnumKey(0, nullptr, &size), 1);
  EXPECT_EQ(size, 5U);
  char name[10] = "?????????";
  size = 4;
  EXPECT_TRUE(fails_with(79, [&] { return key.EnumKey(0, name, &size); }));
  EXPECT_EQ(size, 5U);
  EXPECT_STREQ(name, "?????????");
  EXPECT_EQ(key.EnumKey(0, name, &size), 1);
  EXPECT_STREQ(name, "name");
  EXPECT_EQ(name[5], '?');
  size = 10;
  EXPECT_EQ(key.EnumKey(0, name, &size), 1);
  EXPECT_EQ(size, 10U);
}

TEST_F(KeyChildren, AreNoSuchEntryPastTheEnd) {
  write("[K\\x]\n");
  TestKey& key = loaded("K");
  unsigned size = 7;
  EXPECT_TRUE(fails_with(2, [&] { return key.EnumKey(1, nullptr, &size); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.EnumKey(0xFFFFFFFF, nullptr, &size); }));
  EXPECT_EQ(size, 7U);
  EXPECT_TRUE(fails_with(14, [&] { return key.EnumKey(0, nullptr, nullptr); }));
}

TEST_F(KeyChildren, OfTheRootAreDeletedFromTheFile) {
  write("v=1\n[A]\na=1\n#c\n[B]\nb=1\n[a\\]\na=2\n");
  TestKey& key = loaded("", 2);
  EXPECT_EQ(key.DeleteKey("B"), 1);
  EXPECT_EQ(content(), "v=1\n[A\\]\na=1\n#c\n[a\\]\na=2\n");
  EXPECT_EQ(child_names(key), (Names{"A"}));
}

TEST_F(KeyChildren, OfTheRootAreDeletedWithAllTheirSections) {
  write("[A]\na=1\n[B]\nb=1\n[a\\]\na=2\n");
  EXPECT_EQ(loaded("", 2).DeleteKey("a\\"), 1);
  EXPECT_EQ(content(), "[B\\]\nb=1\n");
}

TEST_F(KeyChildren, BelowTheRootStayInTheFile) {
  write("[K]\nv=1\n[K\\x]\nx=1\n");
  TestKey& key = loaded("K", 2);
  EXPECT_EQ(key.DeleteKey("x"), 1);
  EXPECT_EQ(child_names(key), Names{});
  EXPECT_EQ(content(), "[K\\]\nv=1\n[K\\x\\]\nx=1\n");
}

TEST_F(KeyChildren, AreDeletedByFullPathFromTheTopOfTheFile) {
  write("[K]\nv=1\n[K\\x]\nx=1\n[x]\ny=1\n");
  EXPECT_EQ(loaded("K", 2).DeleteKey("x"), 1);
  EXPECT_EQ(content(), "[K\\]\nv=1\n[K\\x\\]\nx=1\n");
}

TEST_F(KeyChildren, OfTheKeysOwnNameDoNotTakeItWithThem) {
  write("[K]\nv=1\n[K\\K]\nx=1\n");
  EXPECT_EQ(loaded("K", 2).DeleteKey("K"), 1);
  EXPECT_EQ(content(), "[K\\]\nv=1\n[K\\K\\]\nx=1\n");
}

TEST_F(KeyChildren, WithSomethingBelowAreNotDeleted) {
  write("[x]\n[x\\y]\n");
  TestKey& key = loaded("", 2);
  EXPECT_TRUE(fails_with(13, [&] { return key.DeleteKey("x"); }));
  EXPECT_EQ(content(), "[x]\n[x\\y]\n");
  EXPECT_EQ(key.DeleteKey("x\\y"), 1);
  EXPECT_EQ(key.DeleteKey("x"), 1);
  EXPECT_EQ(content(), "");
}

TEST_F(KeyChildren, ThatAreUnknownAreNotDeleted) {
  write("[x]\n");
  TestKey& key = loaded("", 2);
  EXPECT_TRUE(fails_with(2, [&] { return key.DeleteKey("y"); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.DeleteKey(""); }));
  EXPECT_TRUE(fails_with(14, [&] { return key.DeleteKey(nullptr); }));
  EXPECT_EQ(content(), "[x]\n");
}

TEST_F(KeyChildren, AreNotDeletedWithoutWriteAccess) {
  write("[x]\n");
  EXPECT_TRUE(fails_with(13, [&] { return loaded("", 1).DeleteKey("x"); }));
  EXPECT_TRUE(fails_with(13, [&] { return loaded("", 1).DeleteKey("none"); }));
  EXPECT_EQ(content(), "[x]\n");
}

TEST_F(KeyChildren, OfAKeyWhoseFileCouldNotBeOpenedAreUnknown) {
  TestKey key(folder.file("missing/registry"));
  ASSERT_TRUE(fails_with(2, [&] { return key.LoadKey("", 0, 2, nullptr); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.DeleteKey("x"); }));
}

}  // namespace
}  // namespace tavtest

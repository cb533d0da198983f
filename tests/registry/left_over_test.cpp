// What has the temporary file's name when a change is made: it is removed, and never written to.

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class LeftOver : public RegistryTest {
 protected:
  LeftOver() {
    write("[A]\na=1\n");
    write_file(strangers, "a stranger's\n");
  }

  int set_value() const {
    TestKey key(path);
    return key.LoadKey("A", 0, 2, nullptr) == 0 ? 0 : set_text(key, "v", "x");
  }

  void expect_changed() const {
    EXPECT_EQ(content(), "[A\\]\na=1\nv=\"x\"\n");
    EXPECT_FALSE(temporary_exists());
    EXPECT_EQ(read_file(strangers), "a stranger's\n");
  }

  /// The permissions of the registry after a change, for a left-over that has `left_over` and a process whose
  /// new files lack `mask`.
  mode_t permissions_after(mode_t left_over, mode_t mask) const {
    write_file(temporary, "?");
    EXPECT_EQ(chmod(temporary.c_str(), left_over), 0);
    const mode_t before = umask(mask);
    EXPECT_EQ(set_value(), 1);
    umask(before);
    struct stat status {};
    EXPECT_EQ(stat(path.c_str(), &status), 0);
    return status.st_mode & 07777U;
  }

  const std::string temporary = path + "~";
  const std::string strangers = folder.file("strangers");
};

TEST_F(LeftOver, FileIsReplaced) {
  write_file(temporary, std::string(1000, '?'));
  ASSERT_EQ(set_value(), 1);
  expect_changed();
}

TEST_F(LeftOver, HardLinkToTheRegistryDoesNotEmptyIt) {
  std::filesystem::create_hard_link(path, temporary);
  ASSERT_EQ(set_value(), 1);
  expect_changed();
}

TEST_F(LeftOver, SymbolicLinkToTheRegistryDoesNotLoseIt) {
  std::filesystem::create_symlink(path, temporary);
  ASSERT_EQ(set_value(), 1);
  EXPECT_FALSE(std::filesystem::is_symlink(path));
  expect_changed();
}

TEST_F(LeftOver, HardLinkToAStrangersFileIsNotFollowed) {
  std::filesystem::create_hard_link(strangers, temporary);
  ASSERT_EQ(set_value(), 1);
  expect_changed();
}

TEST_F(LeftOver, SymbolicLinkToAStrangersFileIsNotFollowed) {
  std::filesystem::create_symlink(strangers, temporary);
  ASSERT_EQ(set_value(), 1);
  EXPECT_FALSE(std::filesystem::is_symlink(path));
  expect_changed();
}

TEST_F(LeftOver, SymbolicLinkToNowhereMakesNoFileThere) {
  std::filesystem::create_symlink(folder.file("nowhere"), temporary);
  ASSERT_EQ(set_value(), 1);
  EXPECT_FALSE(std::filesystem::exists(folder.file("nowhere")));
  expect_changed();
}

TEST_F(LeftOver, FilesPermissionsAreNotTheRegistrys) {
  EXPECT_EQ(permissions_after(0666, 077), 0600U);
  EXPECT_EQ(permissions_after(0600, 022), 0644U);
  EXPECT_EQ(permissions_after(0000, 027), 0640U);
  expect_changed();
}

TEST_F(LeftOver, PipeKeepsNobodyWaiting) {
  ASSERT_EQ(mkfifo(temporary.c_str(), 0600), 0);
  EXPECT_EQ(in_other_process([this] { return set_value(); }), 1);
  expect_changed();
}

TEST_F(LeftOver, ThatComesInBetweenMakesTheChangeFail) {
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  {
    const CallHook opening(Call::open_file, 1, [this] {
      std::filesystem::create_hard_link(strangers, temporary);
      return 0;
    });
    EXPECT_TRUE(fails_with(EEXIST, [&] { return set_text(key, "v", "x"); }));
  }
  EXPECT_EQ(content(), "[A]\na=1\n");
  EXPECT_EQ(read_file(temporary), "a stranger's\n");
  ASSERT_EQ(set_text(key, "v", "x"), 1);
  expect_changed();
}

TEST_F(LeftOver, ThatIsNotThereLeavesTheErrorAlone) {
  errno = 0;
  EXPECT_EQ(set_value(), 1);
  EXPECT_EQ(errno, 0);
}

}  // namespace
}  // namespace tavtest

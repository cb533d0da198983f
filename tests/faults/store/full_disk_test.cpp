// A file system that is really full: a few pages of memory, mounted in a private user and mount namespace.

#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include <cerrno>
#include <cstring>

#include "conformance/private_machine.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class FullDisk : public RegistryTest {
 protected:
  static void SetUpTestSuite() { refusal_ = enter_private_machine(); }

  void SetUp() override {
    if (!refusal_.empty()) GTEST_SKIP() << "no private namespace: " << refusal_;
  }

  ~FullDisk() override {
    if (mounted_) umount2(folder.path().c_str(), MNT_DETACH);
  }

  /// Mounts a file system with room for `pages` pages of data and for `files` files.
  void mount_disk(unsigned long pages, unsigned long files) {
    const std::string options = "nr_blocks=" + std::to_string(pages) +
                                ",nr_inodes=" + std::to_string(files + 1);  // The folder is one.
    mounted_ = mount("none", folder.path().c_str(), "tmpfs", 0, options.c_str()) == 0;
    ASSERT_TRUE(mounted_) << std::strerror(errno);
    struct statvfs disk {};
    ASSERT_EQ(statvfs(folder.path().c_str(), &disk), 0);
    page = disk.f_bsize;
  }

  /// Takes pages away until so many are left.
  void leave_pages(unsigned long pages) const {
    std::filesystem::remove(padding);
    struct statvfs disk {};
    ASSERT_EQ(statvfs(folder.path().c_str(), &disk), 0);
    ASSERT_GE(disk.f_bfree, pages);
    write_file(padding, std::string(static_cast<std::size_t>((disk.f_bfree - pages) * page), 'p'));
    ASSERT_EQ(statvfs(folder.path().c_str(), &disk), 0);
    ASSERT_EQ(disk.f_bfree, pages);
  }

  /// A comment of `size` bytes, with its newline.
  static std::string comment(std::size_t size) { return "#" + std::string(size - 2, 'c') + "\n"; }

  const std::string padding = folder.file("padding");
  std::size_t page = 0;

 private:
  static inline std::string refusal_;
  bool mounted_{false};
};

TEST_F(FullDisk, LosesNoValueOfACommit) {
  ASSERT_NO_FATAL_FAILURE(mount_disk(16, 3));
  const std::string before = comment(1000) + "[A\\]\nv=\"old\"\n[B\\]\nb=\"" + std::string(3000, 'b') +
                             "\"\nc=\"" + std::string(3000, 'c') + "\"\nd=\"" + std::string(3000, 'd') +
                             "\"\n";
  const unsigned long needed = before.size() / page + 1;  // Of the new file, which is as large.
  for (unsigned long pages = 0; pages < needed; ++pages) {
    std::filesystem::remove(padding);
    write(before);
    ASSERT_NO_FATAL_FAILURE(leave_pages(pages));
    TestKey key(path);
    ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
    EXPECT_TRUE(fails_with(ENOSPC, [&] { return set_text(key, "v", "new"); })) << pages;
    EXPECT_EQ(content(), before) << pages;
    EXPECT_FALSE(temporary_exists()) << pages;
    ASSERT_NO_FATAL_FAILURE(leave_pages(needed));
    EXPECT_EQ(set_text(key, "v", "new"), 1) << pages;
    EXPECT_EQ(content(), std::string(before).replace(before.find("old"), 3, "new")) << pages;
  }
}

TEST_F(FullDisk, TakesNoPartOfAHeader) {
  ASSERT_NO_FATAL_FAILURE(mount_disk(4, 3));
  // The last page has room for nothing, or for a part of the header only.
  for (const std::size_t room : {0U, 1U, 5U}) {
    std::filesystem::remove(padding);
    const std::string before = comment(page - room);
    write(before);
    ASSERT_NO_FATAL_FAILURE(leave_pages(0));
    TestKey key(path);
    EXPECT_TRUE(fails_with(ENOSPC, [&] { return key.LoadKey("New", 1, 3, nullptr); })) << room;
    EXPECT_EQ(content(), before) << room;
    ASSERT_NO_FATAL_FAILURE(leave_pages(1));
    EXPECT_EQ(key.LoadKey("New", 1, 3, nullptr), 1) << room;
    EXPECT_EQ(content(), before + "[New\\]\n") << room;
  }
}

TEST_F(FullDisk, WithoutRoomForATemporaryFileFailsACommit) {
  ASSERT_NO_FATAL_FAILURE(mount_disk(4, 1));
  write("[A\\]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  EXPECT_TRUE(fails_with(ENOSPC, [&] { return set_text(key, "v", "new"); }));
  EXPECT_EQ(content(), "[A\\]\n");
}

TEST_F(FullDisk, WithoutRoomForTheRegistryFailsToCreateAKey) {
  ASSERT_NO_FATAL_FAILURE(mount_disk(4, 1));
  write_file(padding, "");
  EXPECT_TRUE(fails_with(ENOSPC, [&] { return TestKey(path).LoadKey("New", 1, 3, nullptr); }));
  EXPECT_FALSE(std::filesystem::exists(path));
}

}  // namespace
}  // namespace tavtest

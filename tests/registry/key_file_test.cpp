// A key's file: how it is named and made.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class KeyFile : public RegistryTest {};

mode_t permissions(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(stat(path.c_str(), &status), 0);
  return status.st_mode & 07777;
}

TEST_F(KeyFile, IsCreatedEmptyForItsOwnerOnly) {
  const mode_t before = umask(0);
  const TestKey key(path);
  umask(before);
  EXPECT_EQ(content(), "");
  EXPECT_EQ(permissions(path), 0600U);
}

TEST_F(KeyFile, KeepsTheDescriptorOfACreatedFileOpen) {
  const int next = dup(0);
  close(next);
  { const TestKey key(path); }
  struct stat named {};
  struct stat opened {};
  ASSERT_EQ(stat(path.c_str(), &named), 0);
  ASSERT_EQ(fstat(next, &opened), 0);
  EXPECT_EQ(opened.st_ino, named.st_ino);
  EXPECT_EQ(::write(next, "x", 1), 1);
  EXPECT_NE(fcntl(next, F_GETFD) & FD_CLOEXEC, 0);
  close(next);
}

TEST_F(KeyFile, IsLeftAsItIsWhenItExists) {
  write("[A]\n");
  chmod(path.c_str(), 0640);
  const TestKey key(path);
  EXPECT_EQ(content(), "[A]\n");
  EXPECT_EQ(permissions(path), 0640U);
}

TEST_F(KeyFile, IsNotTruncatedWhenAnotherProcessMadeItSinceTheCheck) {
  write("[A]\n");
  const CallFails not_there(Call::check, 1, ENOENT);
  const TestKey key(path);
  EXPECT_EQ(content(), "[A]\n");
}

TEST_F(KeyFile, StartsWithEverythingElseNull) {
  const TestKey key(path);
  EXPECT_STREQ(key.path, path.c_str());
  EXPECT_EQ(key.file, nullptr);
  EXPECT_EQ(key.keyName, nullptr);
  EXPECT_EQ(key.values, nullptr);
  EXPECT_EQ(key.subkeys, nullptr);
  EXPECT_EQ(key.access, 0U);
}

TEST_F(KeyFile, HasItsFieldsInOrder) {
  TestKey key(path);
  EXPECT_EQ(sizeof key.path, 1024U);
  const std::vector<const void*> fields{&key.file,   key.path,     &key.keyName,
                                        &key.values, &key.subkeys, &key.access};
  EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end()));
}

/// A path of `length` characters below `folder` that names the file "registry" there.
std::string long_path(const TempFolder& folder, std::size_t length) {
  const std::string start = folder.path().string() + "/";
  const std::string name = "registry";
  std::string dots;
  while (start.size() + dots.size() + name.size() < length)
    dots += "./";
  if (start.size() + dots.size() + name.size() > length) dots.replace(dots.size() - 2, 2, "/");
  return start + dots + name;
}

TEST_F(KeyFile, MayHaveAPathOf1022Characters) {
  const std::string longest = long_path(folder, 1022);
  ASSERT_EQ(longest.size(), 1022U);
  TestKey key(longest);
  EXPECT_EQ(std::string(key.path), longest);
  EXPECT_EQ(content(), "");
  ASSERT_EQ(key.LoadKey("A", 1, 3, nullptr), 1);
  ASSERT_EQ(set_text(key, "v", "x"), 1);
  EXPECT_EQ(content(), "[A\\]\nv=\"x\"\n");
}

TEST_F(KeyFile, HasTooLongANameFrom1023Characters) {
  const std::string too_long = long_path(folder, 1023);
  ASSERT_EQ(too_long.size(), 1023U);
  errno = 0;
  TestKey key(too_long);
  EXPECT_EQ(AErrors::GetRtlError(), 78U);
  EXPECT_STREQ(key.path, "");
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_TRUE(fails_with(2, [&] { return key.LoadKey("", 0, 0, nullptr); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.LoadKey("A", 1, 3, nullptr); }));
}

TEST_F(KeyFile, HasABadAddressForANullPath) {
  errno = 0;
  const TestKey key(static_cast<const char*>(nullptr));
  EXPECT_EQ(AErrors::GetRtlError(), 14U);
  EXPECT_STREQ(key.path, "");
}

TEST_F(KeyFile, IsCopiedWithTheKeysPathOnly) {
  write("[A\\B]\nv=1\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A\\B", 0, 3, nullptr), 1);
  const TestKey copy(key);
  EXPECT_STREQ(copy.path, path.c_str());
  EXPECT_STREQ(copy.keyName.get(), "A\\B\\");
  EXPECT_NE(copy.keyName.get(), key.keyName.get());
  EXPECT_EQ(copy.file, nullptr);
  EXPECT_EQ(copy.values, nullptr);
  EXPECT_EQ(copy.subkeys, nullptr);
  EXPECT_EQ(copy.access, 0U);
}

TEST_F(KeyFile, IsGivenAsARoot) {
  ARegistryKey* key = ARegKeyFile(path.c_str());
  ASSERT_NE(key, nullptr);
  EXPECT_EQ(content(), "");
  EXPECT_EQ(ARegKeyFileClose(key), 1);
  EXPECT_EQ(ARegKeyFileClose(nullptr), 1);
}

}  // namespace
}  // namespace tavtest

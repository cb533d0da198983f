// Opening a key that has no section yet.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class CreateKey : public RegistryTest {};

const std::optional<Value> one = Value{REG_SZ, zeroed("1\0")};

TEST_F(CreateKey, IsDeniedToCreateWithoutWriteAccess) {
  write("[B]\n");
  TestKey key(path);
  int created = 7;
  EXPECT_TRUE(fails_with(13, [&] { return key.LoadKey("A", 1, 1, &created); }));
  EXPECT_EQ(created, 0);
  EXPECT_EQ(content(), "[B]\n");
}

TEST_F(CreateKey, OpensAnExistingKeyForCreationWithoutWriteAccess) {
  write("[A]\nv=\"1\"\n");
  TestKey key(path);
  int created = 7;
  EXPECT_EQ(key.LoadKey("A", 1, 1, &created), 1);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(find_value(key, "v"), one);
}

TEST_F(CreateKey, CannotAppendThroughAStreamForReading) {
  write("[A\\B]\n");
  TestKey key(path);
  EXPECT_TRUE(fails_with(9, [&] { return key.LoadKey("A", 1, 1, nullptr); }));
  EXPECT_EQ(content(), "[A\\B]\n");
}

TEST_F(CreateKey, AppendsAHeaderForWhatExistsOnlyThroughAKeyBelowWithWriteAccess) {
  write("[a\\b]\nv=\"1\"\n");
  TestKey key(path);
  int created = 7;
  ASSERT_EQ(key.LoadKey("A", 0, 2, &created), 1);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(value_names(key), Names{});
  EXPECT_EQ(content(), "[a\\b]\nv=\"1\"\n[A\\]\n");
}

TEST_F(CreateKey, DoesNotCallCreatedWhatExistedThroughAKeyBelow) {
  write("[a\\b]\n");
  TestKey key(path);
  int created = 7;
  ASSERT_EQ(key.LoadKey("A", 1, 3, &created), 1);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(content(), "[a\\b]\n[A\\]\n");
}

TEST_F(CreateKey, CreatesAMissingKeyAndTellsSo) {
  write("[A]\nv=\"1\"\n");
  TestKey key(path);
  int created = 7;
  ASSERT_EQ(key.LoadKey("A\\B", 1, 3, &created), 1);
  EXPECT_EQ(created, 1);
  EXPECT_STREQ(key.keyName.get(), "A\\B\\");
  EXPECT_EQ(content(), "[A]\nv=\"1\"\n[A\\B\\]\n");
  TestKey again(path);
  ASSERT_EQ(again.LoadKey("A\\B", 1, 3, &created), 1);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(content(), "[A]\nv=\"1\"\n[A\\B\\]\n");
}

TEST_F(CreateKey, CreatesWithoutBeingAskedToTell) {
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 1, 3, nullptr), 1);
  EXPECT_EQ(content(), "[A\\]\n");
}

TEST_F(CreateKey, AppendsAHeaderOnALineOfItsOwn) {
  write("[B]\nv=\"1\"");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 1, 3, nullptr), 1);
  EXPECT_EQ(content(), "[B]\nv=\"1\"\n[A\\]\n");
}

TEST_F(CreateKey, CreatesAMissingFileWithWriteAccessOnly) {
  TestKey key(path);
  std::filesystem::remove(path);
  EXPECT_TRUE(fails_with(2, [&] { return key.LoadKey("A", 1, 1, nullptr); }));
  EXPECT_FALSE(std::filesystem::exists(path));
  EXPECT_EQ(key.LoadKey("A", 1, 2, nullptr), 1);
  EXPECT_EQ(content(), "[A\\]\n");
}

TEST_F(CreateKey, LeavesTheFileAsItWasWhenTheHeaderDoesNotFit) {
  const std::string before = "[B]\nv=\"" + std::string(1000, 'x') + "\"\n";
  write(before);
  // The other process may write four bytes more than the file has: half of the header.
  const int error = in_other_process([&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{before.size() + 4, before.size() + 4};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return -1;
    TestKey key(path);
    return key.LoadKey("Long\\Name", 1, 3, nullptr) == 0 ? static_cast<int>(AErrors::GetRtlError()) : -1;
  });
  EXPECT_EQ(error, EFBIG);
  EXPECT_EQ(content(), before);
}

TEST_F(CreateKey, FailsWhenTheEndOfTheFileCannotBeFound) {
  write("[B]\n");
  TestKey key(path);
  const CallFails fails(Call::check_open, 3,
                        EIO);  // The first two find out whether the file is the current one.
  EXPECT_TRUE(fails_with(EIO, [&] { return key.LoadKey("A", 1, 3, nullptr); }));
  EXPECT_TRUE(fails.fired());
  EXPECT_EQ(content(), "[B]\n");
}

TEST_F(CreateKey, KeepsOthersOutWhileTheHeaderIsWritten) {
  TestKey key(path);
  const CallHook hook(Call::write, 1, [&] {
    EXPECT_FALSE(others_can_lock(path, F_RDLCK));
    return 0;
  });
  EXPECT_EQ(key.LoadKey("A", 1, 3, nullptr), 1);
  EXPECT_TRUE(hook.fired());
  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
}

TEST_F(CreateKey, WritesTheHeaderInSpiteOfASignal) {
  TestKey key(path);
  const CallFails interrupted(Call::write, 1, EINTR);
  EXPECT_EQ(key.LoadKey("A", 1, 3, nullptr), 1);
  EXPECT_EQ(content(), "[A\\]\n");
}

TEST_F(CreateKey, LooksAtTheLastLineInSpiteOfASignal) {
  write("[B]");
  for (int nth = 1;; ++nth) {
    TestKey key(path);
    const CallFails interrupted(Call::read, nth, EINTR);
    EXPECT_EQ(key.LoadKey(("A" + std::to_string(nth)).c_str(), 1, 3, nullptr), 1) << nth;
    if (!interrupted.fired()) break;
  }
  EXPECT_EQ(content().substr(0, 9), "[B]\n[A1\\]");
}

TEST_F(CreateKey, CutsATargetAt4095Characters) {
  const std::string name(5000, 'k');
  TestKey key(path);
  ASSERT_EQ(key.LoadKey(name.c_str(), 1, 3, nullptr), 1);
  EXPECT_EQ(std::string(key.keyName.get()), std::string(4095, 'k'));
  EXPECT_EQ(content(), "[" + std::string(4095, 'k') + "]\n");
}

TEST_F(CreateKey, AppendsTheWholeHeaderOfAPathThatHoldsABracket) {
  for (const char* before : {"[A]\na=1\n", "[A]\na=1"}) {
    write(before);
    int created = 7;
    EXPECT_EQ(TestKey(path).LoadKey("A]B", 1, 3, &created), 1);
    EXPECT_EQ(created, 1);
    EXPECT_EQ(content(), "[A]\na=1\n[A]B\\]\n");
  }
}

TEST_F(CreateKey, DoesNotTruncateAFileMadeBetweenTwoOpens) {
  // The first open finds no file; then another process makes one, which the second open must keep.
  TestKey key(path);
  std::filesystem::remove(path);
  const CallHook hook(Call::open_file, 2, [&] {
    EXPECT_FALSE(std::filesystem::exists(path));
    write("[B]\nb=1\n");
    return 0;
  });
  EXPECT_EQ(key.LoadKey("A", 1, 2, nullptr), 1);
  EXPECT_EQ(content(), "[B]\nb=1\n[A\\]\n");
}

}  // namespace
}  // namespace tavtest

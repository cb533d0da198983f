// A change that was reported as done outlasts a loss of power: bytes and names are synced.

#include <gtest/gtest.h>
#include <unistd.h>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class SyncedChanges : public RegistryTest {
 protected:
  SyncedChanges() { write("[A]\na=1\n"); }

  /// What the file holds at each sync that `change` makes.
  Names at_each_sync(const std::function<int()>& change) const {
    Names contents;
    const CallHook hook(Call::sync, 0, [&] {
      contents.push_back(content());
      return 0;
    });
    EXPECT_EQ(change(), 1);
    return contents;
  }

  int set_value() const {
    TestKey key(path);
    return key.LoadKey("A", 0, 2, nullptr) == 1 ? set_text(key, "v", "x") : 0;
  }

  int create_key() const {
    TestKey key(path);
    return key.LoadKey("B", 1, 3, nullptr);
  }
};

TEST_F(SyncedChanges, SyncTheTemporaryFileAndThenTheFolder) {
  EXPECT_EQ(at_each_sync([&] { return set_value(); }), (Names{"[A]\na=1\n", "[A\\]\na=1\nv=\"x\"\n"}));
}

TEST_F(SyncedChanges, SyncAnAppendedHeaderAndTheFolder) {
  EXPECT_EQ(at_each_sync([&] { return create_key(); }), Names(2, "[A]\na=1\n[B\\]\n"));
}

TEST_F(SyncedChanges, SyncNothingWhenTheyOnlyRead) {
  EXPECT_EQ(at_each_sync([&] { return TestKey(path).LoadKey("A", 1, 3, nullptr); }), Names());
}

TEST_F(SyncedChanges, SyncTheWorkingFolderForANameWithoutOne) {
  EXPECT_EQ(in_other_process([&] {
              if (chdir(folder.path().c_str()) != 0) return 100;
              TestKey key("registry");
              if (key.LoadKey("A", 0, 2, nullptr) == 0) return 101;
              int syncs = 0;
              const CallHook hook(Call::sync, 0, [&] { return ++syncs, 0; });
              return set_text(key, "v", "x") == 1 ? syncs : 102;
            }),
            2);
}

TEST_F(SyncedChanges, FailWhenTheHeaderCannotBeSynced) {
  const CallFails fails(Call::sync, 1, EIO);
  EXPECT_TRUE(fails_with(EIO, [&] { return create_key(); }));
  EXPECT_EQ(content(), "[A]\na=1\n");
}

TEST_F(SyncedChanges, SucceedWhenTheFolderCannotBeSynced) {
  for (const auto& change :
       {std::function([&] { return set_value(); }), std::function([&] { return create_key(); })}) {
    const CallFails fails(Call::sync, 2, EINVAL);
    errno = 0;
    EXPECT_EQ(change(), 1);
    EXPECT_EQ(errno, 0);
    EXPECT_TRUE(fails.fired());
  }
  EXPECT_EQ(content(), "[A\\]\na=1\nv=\"x\"\n[B\\]\n");
}

TEST_F(SyncedChanges, SucceedWhenTheFolderCannotBeOpened) {
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  const CallFails fails(Call::open_file, 2, EACCES);  // The first one opens the temporary file.
  EXPECT_EQ(set_text(key, "v", "x"), 1);
  EXPECT_TRUE(fails.fired());
  EXPECT_EQ(content(), "[A\\]\na=1\nv=\"x\"\n");
}

}  // namespace
}  // namespace tavtest

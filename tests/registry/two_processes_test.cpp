// Several processes on one file: no change of any of them is lost.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <tavlib/registry/file_locker.h>
#include <unistd.h>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class TwoProcesses : public RegistryTest {
 protected:
  /// Sets v="x" in a key; 1 when that succeeded.
  int set_in(const char* key_name) const {
    TestKey key(path);
    return key.LoadKey(key_name, 0, 2, nullptr) == 0 ? 0 : set_text(key, "v", "x");
  }

  int created_in(const char* key_name) const {
    TestKey key(path);
    int created = 0;
    return key.LoadKey(key_name, 1, 3, &created) == 0 ? -1 : created;
  }
};

TEST_F(TwoProcesses, ThatChangeDifferentSectionsInTurnLoseNothing) {
  write("[A]\n[B]\n");
  const Gate other_loaded;
  const Gate first_changed;
  OtherProcess other([&] {
    TestKey key(path);
    if (key.LoadKey("B", 0, 2, nullptr) == 0) return 1;
    other_loaded.open();
    first_changed.pass();
    return set_text(key, "v", "b") == 1 ? 0 : 2;
  });
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  other_loaded.pass();
  ASSERT_EQ(set_text(key, "v", "a"), 1);
  first_changed.open();
  ASSERT_EQ(other.result(), 0);
  EXPECT_EQ(content(), "[A\\]\nv=\"a\"\n[B\\]\nv=\"b\"\n");
  ASSERT_EQ(set_text(key, "w", "a"), 1);
  EXPECT_EQ(content(), "[A\\]\nv=\"a\"\nw=\"a\"\n[B\\]\nv=\"b\"\n");
}

TEST_F(TwoProcesses, LoseNothingWhenOneCommitsWhileTheOtherComesToItsLock) {
  write("[A]\n[B]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  WaitingProcess other([&] { return set_in("B"); });
  const CallHook hook(Call::lock, 1, [&] {
    EXPECT_EQ(other.run(), 1);
    return 0;
  });
  ASSERT_EQ(set_text(key, "v", "a"), 1);
  EXPECT_EQ(content(), "[A\\]\nv=\"a\"\n[B\\]\nv=\"x\"\n");
}

TEST_F(TwoProcesses, LoseNothingWhenTheFileIsReplacedAgainAndAgain) {
  write("[A]\n[B]\n[C]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  WaitingProcess first([&] { return set_in("B"); });
  WaitingProcess second([&] { return set_in("C"); });
  WaitingProcess third([&] { return set_in("B"); });
  WaitingProcess* others[] = {&first, &second, &third};
  std::size_t locks = 0;
  const CallHook hook(Call::lock, 0, [&] {
    if (locks++ == std::size(others)) return 0;
    EXPECT_EQ(others[locks - 1]->run(), 1);
    return 0;
  });
  ASSERT_EQ(set_text(key, "v", "a"), 1);
  EXPECT_EQ(locks, 4U);
  EXPECT_EQ(content(), "[A\\]\nv=\"a\"\n[B\\]\nv=\"x\"\n[C\\]\nv=\"x\"\n");
}

TEST_F(TwoProcesses, LoseNothingWhenOneCannotTellWhetherItsFileWasReplaced) {
  write("[A]\n[B]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  ASSERT_EQ(in_other_process([&] { return set_in("B"); }), 1);
  {
    const CallFails fails(Call::check, 1, EIO);
    EXPECT_TRUE(fails_with(EIO, [&] { return set_text(key, "v", "a"); }));
    EXPECT_TRUE(fails.fired());
  }
  EXPECT_EQ(content(), "[A\\]\n[B\\]\nv=\"x\"\n");
  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
  EXPECT_EQ(set_text(key, "v", "a"), 1);
  EXPECT_EQ(content(), "[A\\]\nv=\"a\"\n[B\\]\nv=\"x\"\n");
}

TEST_F(TwoProcesses, LoseNothingWhenOneCannotLookAtItsOpenFile) {
  write("[A]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  {
    const CallFails fails(Call::check_open, 1, EIO);
    EXPECT_TRUE(fails_with(EIO, [&] { return set_text(key, "v", "a"); }));
    EXPECT_TRUE(fails.fired());
  }
  EXPECT_EQ(content(), "[A]\n");
  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
  EXPECT_EQ(set_text(key, "v", "a"), 1);
  EXPECT_EQ(content(), "[A\\]\nv=\"a\"\n");
}

TEST_F(TwoProcesses, LoseNothingWhenOneCannotOpenTheOthersFile) {
  write("[A]\n[B]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  ASSERT_EQ(in_other_process([&] { return set_in("B"); }), 1);
  {
    const CallFails fails(Call::open_file, 1, EMFILE);
    EXPECT_TRUE(fails_with(EMFILE, [&] { return set_text(key, "v", "a"); }));
    EXPECT_TRUE(fails.fired());
  }
  EXPECT_EQ(content(), "[A\\]\n[B\\]\nv=\"x\"\n");
  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
  EXPECT_EQ(set_text(key, "v", "a"), 1);
  EXPECT_EQ(content(), "[A\\]\nv=\"a\"\n[B\\]\nv=\"x\"\n");
}

TEST_F(TwoProcesses, ThatWriteAtOnceLoseNothing) {
  std::string headers;
  for (char name = 'A'; name <= 'D'; ++name)
    headers += std::string("[") + name + "]\n";
  write(headers);
  constexpr int changes = 20;
  const auto writer = [this](char name) {
    return [this, name] {
      const std::string key_name(1, name);
      TestKey key(path);
      if (key.LoadKey(key_name.c_str(), 0, 2, nullptr) == 0) return 1;
      for (int i = 0; i < changes; ++i) {
        if (set_text(key, "v" + std::to_string(i), key_name) == 0) return 2;
      }
      return 0;
    };
  };
  std::string expected;
  {
    OtherProcess a(writer('A'));
    OtherProcess b(writer('B'));
    OtherProcess c(writer('C'));
    OtherProcess d(writer('D'));
    for (OtherProcess* process : {&a, &b, &c, &d})
      EXPECT_EQ(process->result(), 0);
  }
  for (char name = 'A'; name <= 'D'; ++name) {
    expected += std::string("[") + name + "\\]\n";
    for (int i = 0; i < changes; ++i)
      expected += "v" + std::to_string(i) + "=\"" + name + "\"\n";
  }
  EXPECT_EQ(content(), expected);
  EXPECT_FALSE(temporary_exists());
}

TEST_F(TwoProcesses, ThatCreateDifferentKeysAtOnceLoseNothing) {
  write("");
  const auto creator = [this](const char* prefix) {
    return [this, prefix] {
      for (int i = 0; i < 20; ++i) {
        if (created_in((prefix + std::to_string(i)).c_str()) != 1) return 1;
      }
      return 0;
    };
  };
  {
    OtherProcess a(creator("a"));
    OtherProcess b(creator("b"));
    EXPECT_EQ(a.result(), 0);
    EXPECT_EQ(b.result(), 0);
  }
  TestKey root(path);
  ASSERT_EQ(root.LoadKey("", 0, 0, nullptr), 1);
  Names names = child_names(root);
  EXPECT_EQ(names.size(), 40U);
  EXPECT_EQ(content().size(), std::string("[a0\\]\n").size() * 20 + std::string("[a10\\]\n").size() * 20);
}

TEST_F(TwoProcesses, ThatCreateOneKeyCreateItOnce) {
  write("[B]\n");
  TestKey key(path);
  int created = 7;
  // The other process is the faster one: it creates the key between this one's shared and exclusive lock.
  WaitingProcess other([&] { return created_in("A") == 1 ? set_in("A") : -1; });
  const CallHook hook(Call::lock, 2, [&] {
    EXPECT_EQ(other.run(), 1);
    return 0;
  });
  ASSERT_EQ(key.LoadKey("A", 1, 3, &created), 1);
  EXPECT_EQ(created, 0);
  EXPECT_EQ(content(), "[B\\]\n[A\\]\nv=\"x\"\n");
  EXPECT_EQ(find_value(key, "v"), (Value{REG_SZ, zeroed("x\0")}));
  EXPECT_EQ(key.sections_below(), Names{});
}

TEST_F(TwoProcesses, DoNotDeadlockWhenBothRaiseTheirLock) {
  write("");
  const Gate other_shares;
  const Gate first_raises;
  OtherProcess other([&] {
    const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    AFileLocker locker(fd, AFileLocker::Shared);
    other_shares.open();
    first_raises.pass();
    return locker.DoLock(AFileLocker::Exclusive) == 1 ? 0 : 1;
  });
  other_shares.pass();
  TestKey key(path);
  const CallHook hook(Call::lock, 2, [&] {
    first_raises.open();
    return 0;
  });
  EXPECT_EQ(key.LoadKey("A", 1, 3, nullptr), 1);
  EXPECT_EQ(other.result(), 0);
  EXPECT_EQ(content(), "[A\\]\n");
}

TEST_F(TwoProcesses, DoNotCreateWhatTheOtherDeletedMeanwhile) {
  write("[A\\B]\n");
  TestKey key(path);
  const CallHook hook(Call::lock, 2, [&] {
    write("[B]\n");
    return 0;
  });
  EXPECT_TRUE(fails_with(2, [&] { return key.LoadKey("A", 0, 2, nullptr); }));
  EXPECT_EQ(content(), "[B]\n");
}

TEST_F(TwoProcesses, AppendToTheFileThatReplacedTheOneTheyOpened) {
  write("[A]\n");
  TestKey key(path);
  WaitingProcess other([&] { return set_in("A"); });
  const CallHook hook(Call::lock, 1, [&] {
    EXPECT_EQ(other.run(), 1);
    return 0;
  });
  ASSERT_EQ(key.LoadKey("B", 1, 3, nullptr), 1);
  EXPECT_EQ(content(), "[A\\]\nv=\"x\"\n[B\\]\n");
}

TEST_F(TwoProcesses, SeeAHeaderThatTheOtherAppended) {
  write("[A]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  ASSERT_EQ(in_other_process([&] { return created_in("B"); }), 1);
  ASSERT_EQ(set_text(key, "v", "x"), 1);
  EXPECT_EQ(content(), "[A\\]\nv=\"x\"\n[B\\]\n");
}

TEST_F(TwoProcesses, KeepTheChangeOfTheOtherWhenOneHasNoWriteAccess) {
  write("[A]\na=1\n[B]\n");
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 1, nullptr), 1);
  ASSERT_EQ(in_other_process([&] { return set_in("B"); }), 1);
  ASSERT_EQ(key.DeleteValue("a"), 1);
  EXPECT_EQ(content(), "[A\\]\n[B\\]\nv=\"x\"\n");
}

TEST_F(TwoProcesses, ReadTheWholeFileThatTheyOpenedWhenItIsReplaced) {
  write("[A]\nv=\"old\"\n");
  const Gate about_to_rename;
  const Gate reading;
  OtherProcess reader([&] {
    about_to_rename.pass();
    TestKey key(path);
    const CallHook hook(Call::lock, 1, [&] {
      reading.open();
      return 0;
    });
    if (key.LoadKey("A", 0, 0, nullptr) == 0) return 1;
    return find_value(key, "v") == Value{REG_SZ, zeroed("old\0")} ? 0 : 2;
  });
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  const CallHook hook(Call::rename, 1, [&] {
    about_to_rename.open();
    reading.pass();  // It has the old file open now, and waits for the lock on it.
    return 0;
  });
  ASSERT_EQ(set_text(key, "v", "new"), 1);
  EXPECT_EQ(reader.result(), 0);
}

/// Another process has replaced the file whenever this one is about to lock it.
class BusyWriter : public TwoProcesses {
 protected:
  BusyWriter() { write("[A]\nv=0\n"); }

  int replace() {
    if (replaced == 4) return 0;
    write_file(path + ".new", "[A]\nv=" + std::to_string(++replaced) + "\n");
    std::filesystem::rename(path + ".new", path);
    return 0;
  }

  int replaced{0};
  const CallHook hook{Call::lock, 0, [this] { return replace(); }};
};

std::optional<Value> number(std::uint32_t value) {
  return Value{REG_DWORD, {reinterpret_cast<const char*>(&value), sizeof value}};
}

TEST_F(BusyWriter, DoesNotKeepAReaderFromWhatItOpened) {
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 1, nullptr), 1);
  EXPECT_EQ(find_value(key, "v"), number(0));
  EXPECT_EQ(content(), "[A]\nv=1\n");
}

TEST_F(BusyWriter, DoesNotKeepAReaderThatLoadsAgainFromTheFileOfThatMoment) {
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("", 0, 1, nullptr), 1);
  ASSERT_EQ(key.LoadKey("A", 0, 1, nullptr), 1);
  EXPECT_EQ(find_value(key, "v"), number(1));
  EXPECT_EQ(content(), "[A]\nv=2\n");
}

TEST_F(BusyWriter, IsFollowedToTheLastFileByALoadWithWriteAccess) {
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 2, nullptr), 1);
  EXPECT_EQ(find_value(key, "v"), number(4));
}

TEST_F(TwoProcesses, WaitForEachOtherToLoad) {
  write("[A]\nv=\"old\"\n");
  const Gate locked;
  const Gate about_to_wait;
  OtherProcess other([&] {
    const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    const AFileLocker locker(fd, AFileLocker::Exclusive);
    locked.open();
    about_to_wait.pass();
    return pwrite(fd, "new", 3, 7) == 3 ? 0 : 1;
  });
  locked.pass();
  TestKey key(path);
  const CallHook hook(Call::lock, 1, [&] {
    about_to_wait.open();
    return 0;
  });
  ASSERT_EQ(key.LoadKey("A", 0, 0, nullptr), 1);
  EXPECT_EQ(find_value(key, "v"), (Value{REG_SZ, zeroed("new\0")}));
  EXPECT_EQ(other.result(), 0);
}

TEST_F(TwoProcesses, ReadAtTheSameTime) {
  write("[A]\nv=1\n");
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const AFileLocker locker(fd, AFileLocker::Shared);
  EXPECT_EQ(in_other_process([&] {
              TestKey key(path);
              return key.LoadKey("A", 0, 0, nullptr);
            }),
            1);
  close(fd);
}

}  // namespace
}  // namespace tavtest

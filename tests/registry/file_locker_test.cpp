#include <fcntl.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <tavlib/registry/file_locker.h>
#include <unistd.h>

#include <utility>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

struct TestLocker : AFileLocker {
  using AFileLocker::AFileLocker;
  using AFileLocker::error;
  using AFileLocker::fd;
  using AFileLocker::kind;
};

class FileLockerTest : public RegistryTest {
 protected:
  FileLockerTest() { write("x"); }
  ~FileLockerTest() override { close(fd); }

  int opened(int flags) { return fd = ::open(path.c_str(), flags | O_CLOEXEC); }

  int fd{-1};
};

TEST_F(FileLockerTest, NumbersTheKindsOfLock) {
  EXPECT_EQ(static_cast<int>(AFileLocker::Unlocked), 0);
  EXPECT_EQ(static_cast<int>(AFileLocker::Shared), 1);
  EXPECT_EQ(static_cast<int>(AFileLocker::Exclusive), 2);
}

TEST_F(FileLockerTest, HasItsFieldsInOrder) {
  TestLocker locker(-1, AFileLocker::Unlocked);
  EXPECT_LT(static_cast<void*>(&locker.error), static_cast<void*>(&locker.fd));
  EXPECT_LT(static_cast<void*>(&locker.fd), static_cast<void*>(&locker.kind));
}

TEST_F(FileLockerTest, KeepsOthersFromWritingWhileShared) {
  TestLocker locker(opened(O_RDONLY), AFileLocker::Shared);
  EXPECT_EQ(locker.IsValid(), 1);
  EXPECT_EQ(locker.error, 0U);
  EXPECT_EQ(locker.fd, fd);
  EXPECT_EQ(locker.kind, AFileLocker::Shared);
  EXPECT_TRUE(others_can_lock(path, F_RDLCK));
  EXPECT_FALSE(others_can_lock(path, F_WRLCK));
}

TEST_F(FileLockerTest, KeepsOthersOutWhileExclusive) {
  const AFileLocker locker(opened(O_RDWR), AFileLocker::Exclusive);
  EXPECT_FALSE(others_can_lock(path, F_RDLCK));
}

TEST_F(FileLockerTest, LocksTheWholeFileAndWhatIsAppended) {
  lseek(opened(O_RDWR), 0, SEEK_END);
  const AFileLocker locker(fd, AFileLocker::Exclusive);
  EXPECT_FALSE(others_can_lock(path, F_RDLCK));
  ASSERT_EQ(::write(fd, "more", 4), 4);
  EXPECT_FALSE(others_can_lock(path, F_RDLCK));
}

TEST_F(FileLockerTest, UnlocksAtItsEnd) {
  { const AFileLocker locker(opened(O_RDWR), AFileLocker::Exclusive); }
  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
}

TEST_F(FileLockerTest, ChangesTheLock) {
  TestLocker locker(opened(O_RDWR), AFileLocker::Shared);
  EXPECT_EQ(locker.DoLock(AFileLocker::Exclusive), 1);
  EXPECT_EQ(locker.kind, AFileLocker::Exclusive);
  EXPECT_FALSE(others_can_lock(path, F_RDLCK));
  EXPECT_EQ(locker.DoLock(AFileLocker::Unlocked), 1);
  EXPECT_EQ(locker.kind, AFileLocker::Unlocked);
  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
}

TEST_F(FileLockerTest, IsNotValidOnABadDescriptor) {
  TestLocker locker(-1, AFileLocker::Shared);
  EXPECT_EQ(locker.error, 9U);
  EXPECT_EQ(locker.kind, AFileLocker::Unlocked);
  EXPECT_TRUE(fails_with(9, [&] { return locker.IsValid(); }));
}

TEST_F(FileLockerTest, CannotLockExclusivelyWhatIsOpenForReading) {
  TestLocker locker(opened(O_RDONLY), AFileLocker::Shared);
  EXPECT_TRUE(fails_with(9, [&] { return locker.DoLock(AFileLocker::Exclusive); }));
  EXPECT_EQ(locker.kind, AFileLocker::Shared);
  EXPECT_TRUE(fails_with(9, [&] { return locker.IsValid(); }));
}

TEST_F(FileLockerTest, KeepsItsErrorWhenALaterLockSucceeds) {
  TestLocker locker(opened(O_RDONLY), AFileLocker::Unlocked);
  ASSERT_TRUE(fails_with(9, [&] { return locker.DoLock(AFileLocker::Exclusive); }));
  EXPECT_EQ(locker.DoLock(AFileLocker::Shared), 1);
  EXPECT_EQ(locker.kind, AFileLocker::Shared);
  EXPECT_FALSE(others_can_lock(path, F_WRLCK));
  EXPECT_EQ(locker.error, 9U);
  EXPECT_TRUE(fails_with(9, [&] { return locker.IsValid(); }));
}

// It unlocks only where every lock call succeeded.
TEST_F(FileLockerTest, LeavesItsLockWhereALockCallFailed) {
  {
    TestLocker locker(opened(O_RDONLY), AFileLocker::Shared);
    ASSERT_EQ(locker.DoLock(AFileLocker::Exclusive), 0);
  }
  EXPECT_FALSE(others_can_lock(path, F_WRLCK));
  close(std::exchange(fd, -1));
  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
}

TEST_F(FileLockerTest, LeavesTheErrorAloneWhenItUnlocks) {
  {
    const AFileLocker locker(opened(O_RDWR), AFileLocker::Shared);
    close(fd);
    fd = -1;
    AErrors::SetRtlError(79);
  }
  EXPECT_EQ(AErrors::GetRtlError(), 79U);
}

TEST_F(FileLockerTest, EndsInAThreadThatIsToBeCancelled) {
  EXPECT_EQ(in_other_process([this] {
              {
                const AFileLocker locker(opened(O_RDWR), AFileLocker::Exclusive);
                pthread_cancel(pthread_self());
              }
              pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
              return others_can_lock(path, F_WRLCK) ? 1 : 0;
            }),
            1);
}

TEST_F(FileLockerTest, GoesOnWaitingAfterASignal) {
  const CallFails interrupted(Call::lock, 1, EINTR);
  AFileLocker locker(opened(O_RDWR), AFileLocker::Exclusive);
  EXPECT_EQ(locker.IsValid(), 1);
  EXPECT_FALSE(others_can_lock(path, F_RDLCK));
}

TEST_F(FileLockerTest, WaitsForTheOtherProcess) {
  const Gate locked;
  const Gate about_to_wait;
  OtherProcess other([&] {
    const int its_fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
    const AFileLocker locker(its_fd, AFileLocker::Exclusive);
    locked.open();
    about_to_wait.pass();
    return ::write(its_fd, "y", 1) == 1 ? 0 : 1;  // Leaving unlocks.
  });
  locked.pass();
  const CallHook hook(Call::lock, 1, [&] {
    about_to_wait.open();
    return 0;
  });
  AFileLocker locker(opened(O_RDWR), AFileLocker::Shared);
  EXPECT_EQ(locker.IsValid(), 1);
  EXPECT_EQ(content(), "y");
  EXPECT_EQ(other.result(), 0);
}

}  // namespace
}  // namespace tavtest

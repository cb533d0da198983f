// The files that the predefined roots stand for. A root's file is looked up once in a process, so each test
// opens them in a process of its own.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <tavlib/registry/registry_handle.h>

#include <cerrno>
#include <new>
#include <thread>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"
#include "support/redirect.h"

namespace tavtest {
namespace {

constexpr uid_t some_user = 4711;

class Roots : public RegistryTest {
 protected:
  Roots() {
    std::filesystem::create_directory(user_home);
    std::filesystem::create_directory(machine_home);
  }

  static int create_key(ARegistryKey* root, const char* name) {
    ARegistry handle;
    return handle.Open(root, name, 1, nullptr, 3);
  }

  const std::string user_home = folder.file("user");
  const std::string machine_home = folder.file("machine");
  const std::string top = folder.file("top");
  const UserRedirect user{some_user};
  const HomeRedirect user_redirect{some_user, user_home.c_str()};
  const HomeRedirect machine_redirect{0, machine_home.c_str()};
  const PathRedirect top_redirect{"/.regfile", top};
};

TEST_F(Roots, AreTwoIndependentFiles) {
  EXPECT_EQ(in_other_process([] {
              return create_key(REGISTRY_ROOT_USER, "U") & create_key(REGISTRY_ROOT_SUPERUSER, "S");
            }),
            1);
  EXPECT_EQ(read_file(user_home + "/.regfile"), "[U\\]\n");
  EXPECT_EQ(read_file(machine_home + "/.regfile"), "[S\\]\n");
}

TEST_F(Roots, AreNotLookedUpInEachOther) {
  write_file(machine_home + "/.regfile", "[S]\n");
  EXPECT_EQ(in_other_process([] {
              ARegistry handle;
              if (handle.Open(REGISTRY_ROOT_USER, "S", 0, nullptr, 1) != 0) return -1;
              return static_cast<int>(AErrors::GetRtlError());
            }),
            2);
}

TEST_F(Roots, FailToOpenAMissingKeyAndLeaveTheHandleClosed) {
  write_file(user_home + "/.regfile", "[B]\n[AB\\C]\n");
  EXPECT_EQ(in_other_process([] {
              ARegistry handle;
              if (handle.Open(REGISTRY_ROOT_USER, "A", 0, nullptr, 3) != 0 || handle.GetKey() != nullptr)
                return -1;
              return static_cast<int>(AErrors::GetRtlError());
            }),
            2);
}

TEST_F(Roots, HaveTheirFileCreatedForItsOwnerOnly) {
  EXPECT_EQ(in_other_process([] {
              ARegistry handle;
              return handle.Open(REGISTRY_ROOT_SUPERUSER, "", 0, nullptr, 1);
            }),
            1);
  struct stat status {};
  ASSERT_EQ(stat((machine_home + "/.regfile").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 07777, 0600U);
  EXPECT_EQ(status.st_size, 0);
}

TEST_F(Roots, AreLookedUpOnceInAProcess) {
  EXPECT_EQ(in_other_process([&] {
              const int first = create_key(REGISTRY_ROOT_USER, "A");
              const HomeRedirect moved(some_user, machine_home.c_str());
              return first & create_key(REGISTRY_ROOT_USER, "B");
            }),
            1);
  EXPECT_EQ(read_file(user_home + "/.regfile"), "[A\\]\n[B\\]\n");
}

TEST_F(Roots, AreAtTheTopOfTheFileSystemWithoutAPasswdEntry) {
  const HomeRedirect unknown(some_user);
  EXPECT_EQ(in_other_process([] { return create_key(REGISTRY_ROOT_USER, "A"); }), 1);
  EXPECT_EQ(read_file(top), "[A\\]\n");
}

TEST_F(Roots, AreAtTheTopOfTheFileSystemWithoutAHome) {
  const HomeRedirect homeless(0, nullptr);
  EXPECT_EQ(in_other_process([] { return create_key(REGISTRY_ROOT_SUPERUSER, "A"); }), 1);
  EXPECT_EQ(read_file(top), "[A\\]\n");
}

/// A path of `length` characters that names the folder `end`, or "" when that cannot be.
std::string long_home(const std::string& start, std::size_t length, const std::string& end) {
  std::string path = start + "/";
  while (path.size() + end.size() + 2 <= length)
    path += "./";
  if (path.size() + end.size() < length) path += "/";
  return path + end;
}

TEST_F(Roots, MayHaveAHomeOf1013Characters) {
  const std::string home = long_home(folder.path().string(), 1013, "user");
  ASSERT_EQ(home.size(), 1013U);
  const HomeRedirect deep(some_user, home.c_str());
  EXPECT_EQ(in_other_process([] { return create_key(REGISTRY_ROOT_USER, "A"); }), 1);
  EXPECT_EQ(read_file(user_home + "/.regfile"), "[A\\]\n");
}

TEST_F(Roots, CutALongerHomeAt1013Characters) {
  const std::string home = long_home(folder.path().string(), 1013, "user") + "name";
  const HomeRedirect deep(some_user, home.c_str());
  std::filesystem::create_directory(folder.file("username"));
  EXPECT_EQ(in_other_process([] { return create_key(REGISTRY_ROOT_USER, "A"); }), 1);
  EXPECT_EQ(read_file(user_home + "/.regfile"), "[A\\]\n");
}

TEST_F(Roots, AreFoundWhateverTheSizeOfTheUsersEntry) {
  const std::string home = long_home(folder.path().string(), 1013, "user") + std::string(100'000, 'x');
  const HomeRedirect large(some_user, home.c_str());
  EXPECT_EQ(in_other_process([] { return create_key(REGISTRY_ROOT_USER, "A"); }), 1);
  EXPECT_EQ(read_file(user_home + "/.regfile"), "[A\\]\n");
}

TEST_F(Roots, AreFoundAfterASignal) {
  EXPECT_EQ(in_other_process([] {
              const CallFails interrupted(Call::find_user, 1, EINTR);
              return create_key(REGISTRY_ROOT_USER, "A");
            }),
            1);
  EXPECT_EQ(read_file(user_home + "/.regfile"), "[A\\]\n");
}

TEST_F(Roots, AreAtTheTopOfTheFileSystemWhenNobodyCanSayWhereTheHomeIs) {
  EXPECT_EQ(in_other_process([] {
              const CallFails fails(Call::find_user, 1, EIO);
              return create_key(REGISTRY_ROOT_USER, "A");
            }),
            1);
  EXPECT_EQ(read_file(top), "[A\\]\n");
}

TEST_F(Roots, AreLookedForAgainWhenThereWasNoMemoryForIt) {
  EXPECT_EQ(in_other_process([] {
              try {
                const CallFails fails(Call::find_user, 1, ENOMEM);
                return create_key(REGISTRY_ROOT_USER, "A") - 1;
              } catch (const std::bad_alloc&) {
                return create_key(REGISTRY_ROOT_USER, "B");
              }
            }),
            1);
  EXPECT_EQ(read_file(user_home + "/.regfile"), "[B\\]\n");
}

// One thread's user is found; before it goes on, another thread opens the other root.
TEST_F(Roots, AreNotMixedUpByThreadsThatAreTheFirstToOpenThem) {
  EXPECT_EQ(in_other_process([] {
              int others = 0;
              const CallHook found(Call::find_user, 1, [&] {
                std::thread([&] { others = create_key(REGISTRY_ROOT_SUPERUSER, "S"); }).join();
                return 0;
              });
              const int own = create_key(REGISTRY_ROOT_USER, "U");
              return own & others;
            }),
            1);
  EXPECT_EQ(read_file(user_home + "/.regfile"), "[U\\]\n");
  EXPECT_EQ(read_file(machine_home + "/.regfile"), "[S\\]\n");
}

}  // namespace
}  // namespace tavtest

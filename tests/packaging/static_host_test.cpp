// Hosts that are linked with everything they need. Each runs where nothing but its configuration file is in
// sight: no shared library, and no module of the name service, which a static C library loads at run time.
#include <pwd.h>
#include <unistd.h>

#include <filesystem>

#include "packaging/host_program.h"

namespace tavtest {
namespace {

namespace fs = std::filesystem;

class StaticHost : public HostProgram {
 protected:
  StaticHost() {
    const fs::path file = folder_.path() / fs::path(TAVLIB_CONFIG_FILE).relative_path();
    fs::create_directories(file.parent_path());
    write_file(file.string(), configuration());
  }

  // The users that it may be: the test's own, and those that a user namespace knows it by.
  void list_users() const {
    fs::create_directories(folder_.path() / "etc");
    fs::create_directories(folder_.path() / "home");
    std::string users;
    for (const uid_t user : {uid_t{0}, getuid(), uid_t{65534}})
      users += "user" + std::to_string(user) + ":x:" + std::to_string(user) + ":0::/home:/bin/sh\n";
    write_file(folder_.file("etc/passwd"), users);
  }

  // Whether it may run there, and then prints what it should and keeps its registry in the file of that name.
  bool runs_in_folder(const std::string& program, const char* expected, const char* registry) const {
    const Outcome outcome = run("'" + program + "' '" + folder_.path().string() + "' 10.1.0.11 10.1.0.99");
    if (outcome.code == 77) return false;
    EXPECT_EQ(outcome.code, 0);
    EXPECT_EQ(outcome.output, expected);
    EXPECT_TRUE(fs::exists(folder_.path() / registry));
    return true;
  }
};

constexpr const char* why_skipped = "the kernel allows no other top of the file system";

constexpr const char* answers =
    "waiting: 1 'ANNA KVIST' 'ENGINEERING'\n"
    "with the event loop: 1 'ANNA KVIST' 'ENGINEERING'\n"
    "waiting: 1 '' ''\n"
    "with the event loop: 1 '' ''\n"
    "registry: value\n"
    "exited: 1\n"
    "removed: 1\n"
    "again: good\n"
    "left: 0 bytes, 0 descriptors\n";

}  // namespace

TEST_F(StaticHost, NeedsNothingThatIsNotInIt) {
  EXPECT_EQ(run("readelf -d '" STATIC_HOST_FILE "' | grep -c NEEDED").output, "0\n");
}

TEST_F(StaticHost, LooksUsersUpAndKeepsARegistryInItsHome) {
  list_users();
  if (!runs_in_folder(STATIC_HOST, answers, "home/.regfile")) GTEST_SKIP() << why_skipped;
}

TEST_F(StaticHost, WithoutAnEventLoopWaits) {
  list_users();
  const char* const expected =
      "waiting: 1 'ANNA KVIST' 'ENGINEERING'\n"
      "waiting: 1 '' ''\n"
      "registry: value\n"
      "exited: 1\n"
      "again: good\n"
      "left: 0 bytes, 0 descriptors\n";
  if (!runs_in_folder(STATIC_HOST_WITHOUT_EVENT_LOOP, expected, "home/.regfile")) GTEST_SKIP() << why_skipped;
}

TEST_F(StaticHost, WithoutAListOfUsersKeepsItsRegistryAtTheTop) {
  if (!runs_in_folder(STATIC_HOST, answers, ".regfile")) GTEST_SKIP() << why_skipped;
}

TEST_F(StaticHost, SurvivesANameServiceThatItCannotLoad) {
  list_users();
  write_file(folder_.file("etc/nsswitch.conf"), "passwd: systemd files\n");
  if (!runs_in_folder(STATIC_HOST, answers, "home/.regfile")) GTEST_SKIP() << why_skipped;
}

// With the machine's own name service, whatever modules that has.
TEST_F(StaticHost, AsksTheMachinesNameService) {
  const passwd* const user = getpwuid(getuid());
  const Outcome outcome = run("'" STATIC_HOST "' --name");
  EXPECT_EQ(outcome.code, 0);
  EXPECT_EQ(outcome.output, std::string(user == nullptr ? "nobody" : user->pw_name) + "\n");
}

}  // namespace tavtest

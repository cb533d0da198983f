// The library as it is shipped, reading its configuration from the path that it is shipped with: nothing is
// interposed. The tests run in a private user and mount namespace, so that the machine's own files are
// neither read nor written.
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>

#include <filesystem>
#include <string>

#include "conformance/host.h"
#include "conformance/private_machine.h"
#include "conformance/tavsim.h"

namespace tavtest {
namespace {

namespace fs = std::filesystem;

constexpr const char* path = "/etc/norvel/tavlib.conf";

class DefaultPath : public testing::Test {
 protected:
  static void SetUpTestSuite() { refusal_ = enter_private_machine(); }

  void SetUp() override {
    if (std::string(TAVLIB_CONFIG_FILE) != path) GTEST_SKIP() << "built with the path " << TAVLIB_CONFIG_FILE;
    if (!refusal_.empty()) GTEST_SKIP() << "no private namespace: " << refusal_;
    fs::remove_all("/etc/norvel");
    fs::remove(machine_store());
  }

  static std::string machine_store() { return std::string(getpwuid(0)->pw_dir) + "/.regfile"; }

  static void configure(const std::string& content) {
    fs::create_directory("/etc/norvel");
    write_file(path, content);
  }

 private:
  static inline std::string refusal_;
};

TEST_F(DefaultPath, ALookUpFindsItsServer) {
  Tavsim sim({"127.0.0.1", "secret", sample_entries});
  configure("[tavlib\\Addresses\\]\ngwtav=\"127.0.0.1\"\n[tavlib\\Addresses\\127.0.0.1\\]\nEndpoint=" +
            std::to_string(sim.configured().port) + "\nPassphrase=\"secret\"\n");
  ASSERT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  char user[64] = "";
  char second[64] = "";
  EXPECT_EQ(SSO_GetUserByAddr(user_address("10.1.0.11"), user, sizeof user, second, sizeof second), 1);
  EXPECT_STREQ(user, "ANNA KVIST");
  EXPECT_STREQ(second, "ENGINEERING");
  SSO_Exit();
}

TEST_F(DefaultPath, TheMachinesPortIsReadFromTheHomeOfUser0) {
  Tavsim sim({"127.0.0.1", "secret", sample_entries});
  configure("[tavlib\\Addresses\\127.0.0.1\\]\nPassphrase=\"secret\"\n");
  write_file(machine_store(),
             "[SOFTWARE\\Kestrane\\Norvel\\Ports\\]\nKS-TAV=" + std::to_string(sim.configured().port) + "\n");
  const Library library;
  unsigned version = 0;
  EXPECT_EQ(TAVQueryVersion(sim.number(), &version), 1);
}

TEST_F(DefaultPath, AMissingFileIsCreatedEmptyAndNothingElseIs) {
  fs::create_directory("/etc/norvel");
  EXPECT_EQ(error_of(TAVInitialize()), 3U);
  struct stat status {};
  ASSERT_EQ(stat(path, &status), 0);
  EXPECT_EQ(status.st_size, 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
  EXPECT_EQ(std::distance(fs::directory_iterator("/etc/norvel"), fs::directory_iterator()), 1);
}

TEST_F(DefaultPath, AMissingFolderIsNotCreated) {
  EXPECT_EQ(error_of(TAVInitialize()), 3U);
  EXPECT_FALSE(fs::exists("/etc/norvel"));
}

}  // namespace
}  // namespace tavtest

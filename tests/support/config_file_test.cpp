#include "support/config_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string>

namespace tavtest {
namespace {

constexpr const char* configured = TAVLIB_CONFIG_FILE;

bool exists(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0;
}

TEST(TestConfig, StartsWithoutAnyFile) {
  const TestConfig config;
  EXPECT_FALSE(exists(configured));
  EXPECT_FALSE(exists("/.regfile"));
  EXPECT_FALSE(exists(TestConfig::machine_store()));
  EXPECT_FALSE(exists(TestConfig::user_store()));
}

TEST(TestConfig, HoldsTheServersAndTheGatewaysServer) {
  const TestConfig config({{"127.0.0.1", 5000, "se\"cr\\et"}, {"127.0.0.2", 73616, " "}}, "127.0.0.2");
  EXPECT_EQ(config.content(),
            "[tavlib\\Addresses\\]\n"
            "gwtav=\"127.0.0.2\"\n"
            "[tavlib\\Addresses\\127.0.0.1\\]\n"
            "Endpoint=5000\n"
            "Passphrase=\"se\\\"cr\\\\et\"\n"
            "[tavlib\\Addresses\\127.0.0.2\\]\n"
            "Endpoint=73616\n"
            "Passphrase=\" \"\n");
}

TEST(TestConfig, IsWhatEachCallFindsAtTheConfiguredPath) {
  const TestConfig config;
  config.write_lines({"one", "two"});
  EXPECT_TRUE(exists(configured));
  const int fd = open(configured, O_RDONLY | O_CLOEXEC);
  EXPECT_GE(fd, 0);
  close(fd);
  FILE* stream = fopen(configured, "r");
  ASSERT_NE(stream, nullptr);
  char line[10];
  EXPECT_STREQ(fgets(line, sizeof line, stream), "one\n");
  fclose(stream);
}

TEST(TestConfig, TakesChangesThroughATemporaryFile) {
  const TestConfig config;
  const std::string temporary = std::string(configured) + "~";
  const int fd = creat(temporary.c_str(), 0600);
  ASSERT_GE(fd, 0);
  EXPECT_EQ(write(fd, "new\n", 4), 4);
  close(fd);
  EXPECT_EQ(rename(temporary.c_str(), configured), 0);
  EXPECT_EQ(config.content(), "new\n");
  EXPECT_EQ(unlink(configured), 0);
  EXPECT_FALSE(exists(config.path()));
}

TEST(TestConfig, HasHomesForTheMachineAndTheUser) {
  const TestConfig config;
  EXPECT_EQ(getuid(), 1000U);
  EXPECT_EQ(std::string(getpwuid(0)->pw_dir) + "/.regfile", TestConfig::machine_store());
  EXPECT_EQ(std::string(getpwuid(getuid())->pw_dir) + "/.regfile", TestConfig::user_store());
  TestConfig::write_fallback_port(99);
  EXPECT_EQ(read_file(TestConfig::machine_store()), "[SOFTWARE\\Kestrane\\Norvel\\Ports\\]\nKS-TAV=99\n");
}

TEST(TestConfig, KeepsTheHomesButNothingInThem) {
  std::string machine;
  {
    const TestConfig config;
    machine = TestConfig::machine_store();
    write_file(machine, "x");
  }
  const TestConfig config;
  EXPECT_EQ(TestConfig::machine_store(), machine);
  EXPECT_FALSE(exists(machine));
}

TEST(HomeRedirects, TellOfUsersWithoutAnEntryOrAHome) {
  const TestConfig config;
  {
    const HomeRedirect unknown(1000);
    EXPECT_EQ(getpwuid(1000), nullptr);
  }
  EXPECT_NE(getpwuid(1000), nullptr);
  const HomeRedirect homeless(1000, nullptr);
  EXPECT_EQ(getpwuid(1000)->pw_dir, nullptr);
}

TEST(TopStore, IsRedirected) {
  const TestConfig config;
  const int fd = open("/.regfile", O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
  ASSERT_GE(fd, 0);
  close(fd);
  struct stat status {};
  ASSERT_EQ(stat(config.top_store().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

}  // namespace
}  // namespace tavtest

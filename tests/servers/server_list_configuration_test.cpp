// The list that a configuration file gives.

#include <dirent.h>

#include <algorithm>
#include <filesystem>

#include "servers/configured_list.h"
#include "support/allowed_leak.h"

namespace {

using tavtest::AllowedLeak;
using tavtest::ConfiguredListTest;
using Addresses = std::vector<std::string>;

using ServerListConfiguration = ConfiguredListTest;

TEST_F(ServerListConfiguration, OneServerForEachSubkey) {
  read({R"([tavlib\Addresses\])", R"([tavlib\Addresses\127.0.0.2\])", "Endpoint=9", R"(Passphrase="two")",
        R"([tavlib\Addresses\127.0.0.1\])", "Endpoint=9", R"(Passphrase="one")"});
  EXPECT_EQ(list->IsValid(), 1);
  EXPECT_EQ(TAVGetLastError(), untouched);
  EXPECT_EQ(addresses(), (Addresses{"127.0.0.1", "127.0.0.2"}));
  EXPECT_STREQ(server("127.0.0.1")->GetSecret(), "one");
  EXPECT_STREQ(server("127.0.0.2")->GetSecret(), "two");
}

TEST_F(ServerListConfiguration, NeedsNoSectionForTheKeyItself) {
  read({R"([TAVLIB\addresses\127.0.0.2])", "ENDPOINT=9"});
  EXPECT_EQ(list->IsValid(), 1);
  EXPECT_EQ(addresses(), Addresses{"127.0.0.2"});
}

TEST_F(ServerListConfiguration, WithoutAFileNothingIsUsable) {
  read();
  expect_nothing_usable();
}

TEST_F(ServerListConfiguration, WithAFolderInTheFilesPlaceNothingIsUsable) {
  std::filesystem::create_directory(config.path());
  read();
  expect_nothing_usable();
}

TEST_F(ServerListConfiguration, WithoutTheKeyNothingIsUsable) {
  read({R"([tavlib\Address\127.0.0.1\])", "Endpoint=9", R"([other\Addresses\127.0.0.1\])", "Endpoint=9"});
  expect_nothing_usable();
}

TEST_F(ServerListConfiguration, WithoutSubkeysNothingIsUsable) {
  read({R"([tavlib\Addresses\])", R"(gwtav="127.0.0.1")"});
  expect_nothing_usable();
}

TEST_F(ServerListConfiguration, AnEmptyFileIsNothingUsable) {
  read({});
  expect_nothing_usable();
}

TEST_F(ServerListConfiguration, ReadsPastDamagedLines) {
  config.write(
      std::string("\0\xff garbage\n[broken\n=\n", 21) +
      "[tavlib\\Addresses\\127.0.0.2\\]\nno equals sign\nEndpoint=x\nEndpoint=9\nPassphrase=unquoted\n"
      "# Endpoint=7\n]\n[");
  read();
  EXPECT_EQ(list->IsValid(), 1);
  EXPECT_EQ(addresses(), Addresses{"127.0.0.2"});
  EXPECT_STREQ(server("127.0.0.2")->GetSecret(), "");
}

TEST_F(ServerListConfiguration, OnlyTheLoopbackAddressIsLocal) {
  config.write_servers(
      {{"127.0.0.1", 9, ""}, {"127.0.0.2", 9, ""}, {"127.1.0.1", 9, ""}, {"10.0.0.1", 9, ""}});
  read();
  ASSERT_EQ(addresses().size(), 4U);
  EXPECT_EQ(server("127.0.0.1")->IsLocal(), 1);
  EXPECT_EQ(server("127.0.0.2")->IsLocal(), 0);
  EXPECT_EQ(server("127.1.0.1")->IsLocal(), 0);
  EXPECT_EQ(server("10.0.0.1")->IsLocal(), 0);
}

struct PassPhrase {
  const char* written;
  const char* held;

  friend void PrintTo(const PassPhrase& phrase, std::ostream* out) { *out << phrase.written; }
};

class ServerListPassPhrase : public ServerListConfiguration,
                             public testing::WithParamInterface<PassPhrase> {};

TEST_P(ServerListPassPhrase, IsHeldAsWrittenButForOneSpace) {
  read({R"([tavlib\Addresses\127.0.0.2\])", "Endpoint=9", GetParam().written});
  ASSERT_NE(server("127.0.0.2"), nullptr);
  EXPECT_STREQ(server("127.0.0.2")->GetSecret(), GetParam().held);
}

INSTANTIATE_TEST_SUITE_P(Values, ServerListPassPhrase,
                         testing::Values(PassPhrase{"", ""}, PassPhrase{R"(Passphrase="")", ""},
                                         PassPhrase{R"(Passphrase=" ")", ""},
                                         PassPhrase{R"(Passphrase="  ")", "  "},
                                         PassPhrase{R"(Passphrase=" x")", " x"},
                                         PassPhrase{R"(Passphrase="a\"b\\c")", R"(a"b\c)"},
                                         PassPhrase{R"(Passphrase="sixteen letters!")", "sixteen letters!"}));

TEST_F(ServerListConfiguration, HoldsSixteenCharactersOfAVeryLongPassPhrase) {
  config.write_servers({{"127.0.0.2", 9, "sixteen letters!" + std::string(284, 'x')}});
  read();
  EXPECT_STREQ(server("127.0.0.2")->GetSecret(), "sixteen letters!");
}

TEST_F(ServerListConfiguration, ANameThatIsNoAddressIsTheAddressThatInetAddrMakesOfIt) {
  config.write_servers({{"nonsense", 9, "a"}});
  read();
  EXPECT_EQ(list->IsValid(), 1);
  EXPECT_EQ(list->GetServer(0), 0xffffffffUL);
  ServerInterface::ASyncRequest request;
  unsigned version = 0;
  EXPECT_EQ(list->QueryVersion(0xffffffffUL, version, &request), 12U);
}

// It is a subkey as any other, with the values at the top of the file.
TEST_F(ServerListConfiguration, AnEmptyNameIsGivenToInetAddrToo) {
  read({"Endpoint=9", R"(Passphrase="top")", R"([tavlib\Addresses\\])", R"([tavlib\Addresses\127.0.0.2\])",
        "Endpoint=9"});
  EXPECT_EQ(list->IsValid(), 1);
  EXPECT_EQ(list->GetServer(0), inet_addr("127.0.0.2"));
  EXPECT_EQ(list->GetServer(1), 0xffffffffUL);
  EXPECT_STREQ(list->GetSecret(0xffffffffUL), "top");
}

// Keys that have no section of their own get none by being read.
TEST_F(ServerListConfiguration, LeavesTheFilesAsTheyAre) {
  const std::string servers = "[tavlib\\Addresses\\127.0.0.2\\notes\\]\nEndpoint=9\n";
  const std::string ports = "[SOFTWARE\\Kestrane\\Norvel\\Ports\\notes\\]\nKS-TAV=9\n";
  config.write(servers);
  tavtest::write_file(config.machine_store(), ports);
  read();
  expect_nothing_usable();
  EXPECT_EQ(config.content(), servers);
  EXPECT_EQ(tavtest::read_file(config.machine_store()), ports);
}

TEST_F(ServerListConfiguration, ASecondListReadsTheFileAnew) {
  config.write_servers({{"127.0.0.2", 9, "a"}});
  read();
  config.write_servers({{"127.0.0.3", 9, "a"}});
  EXPECT_EQ(addresses(), Addresses{"127.0.0.2"});
  read();
  EXPECT_EQ(addresses(), Addresses{"127.0.0.3"});
}

// The interface that lost its place is never released: what remains of it is its open socket.
class ServerListReplacement : public ServerListConfiguration {
 protected:
  static std::vector<int> descriptors() {
    std::vector<int> all;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), closedir);
    while (const dirent* entry = readdir(folder.get())) {
      const int fd = std::atoi(entry->d_name);
      if (entry->d_name[0] != '.' && fd != dirfd(folder.get())) all.push_back(fd);
    }
    std::sort(all.begin(), all.end());
    return all;
  }

  /// Makes and destroys the list; what is open afterwards and was not before, which is then closed.
  std::size_t left_open() {
    tavtest::write_file(config.machine_store(), "");  // making a missing one would leave a descriptor, too
    const auto before = descriptors();
    {
      const AllowedLeak leak;
      read();
    }
    secret = list->GetSecret(list->GetServer(0));
    servers = addresses();
    list.reset();
    std::vector<int> left;
    for (const int fd : descriptors()) {
      if (!std::binary_search(before.begin(), before.end(), fd)) left.push_back(fd);
    }
    for (const int fd : left)
      close(fd);
    return left.size();
  }

  std::string secret;
  Addresses servers;
};

TEST_F(ServerListReplacement, OfTwoSubkeysWithOneAddressTheLaterCountsAndTheEarlierIsNotReleased) {
  config.write_servers({{"127.0.0.2", 9, "first"}, {"127.0.0.02", 9, "second"}});
  EXPECT_EQ(left_open(), 1U);
  EXPECT_EQ(servers, Addresses{"127.0.0.2"});
  EXPECT_EQ(secret, "second");
}

TEST_F(ServerListReplacement, ASubkeyWithASectionBelowItIsCreatedTwice) {
  config.write_lines({R"([tavlib\Addresses\127.0.0.2\])", "Endpoint=9", R"(Passphrase="only")",
                      R"([tavlib\Addresses\127.0.0.2\notes\])", R"(text="x")"});
  EXPECT_EQ(left_open(), 1U);
  EXPECT_EQ(servers, Addresses{"127.0.0.2"});
  EXPECT_EQ(secret, "only");
}

TEST_F(ServerListReplacement, ServersOfTheirOwnAddressesAreAllReleased) {
  config.write_servers({{"127.0.0.2", 9, "first"}, {"127.0.0.3", 9, "second"}});
  EXPECT_EQ(left_open(), 0U);
}

}  // namespace

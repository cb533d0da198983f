// Configurations that are damaged, missing or odd. Where a server answers all the same, it is asked.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>

#include "conformance/host.h"
#include "conformance/scripted_time.h"
#include "conformance/tavsim.h"

namespace tavtest {
namespace {

const unsigned long server = address_of("127.0.0.1");

class Configuration : public testing::Test {
 protected:
  ~Configuration() override {
    if (initialised_) TAVExit();
  }

  // A server under this pass phrase.
  void start(const std::string& passphrase = "secret") {
    sim_ = std::make_unique<Tavsim>(TavsimOptions{"127.0.0.1", passphrase, sample_entries});
  }

  std::string port() const { return std::to_string(sim_->configured().port); }

  // Its section, with these lines.
  std::string section(const std::string& lines) const { return "[tavlib\\Addresses\\127.0.0.1\\]\n" + lines; }

  unsigned initialise() {
    const int result = TAVInitialize();
    initialised_ = result == 1;
    return error_of(result);
  }

  // The outcome of initialising and asking the server.
  unsigned ask() {
    if (initialise() != 0) return TAVGetLastError();
    unsigned version = 0;
    return error_of(TAVQueryVersion(server, &version));
  }

  std::unique_ptr<Tavsim> sim_;
  TestConfig config_;
  bool initialised_ = false;
};

TEST_F(Configuration, AMissingFileFailsWith3AndIsCreatedEmptyForItsOwnerOnly) {
  const mode_t before = umask(0);
  EXPECT_EQ(initialise(), 3U);
  umask(before);
  struct stat status {};
  ASSERT_EQ(::stat(config_.path().c_str(), &status), 0);
  EXPECT_EQ(status.st_size, 0);
  EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(Configuration, AMissingFolderFailsWith3) {
  std::filesystem::remove_all(std::filesystem::path(config_.path()).parent_path());
  EXPECT_EQ(initialise(), 3U);
}

TEST_F(Configuration, ADirectoryInPlaceOfTheFileFailsWith3) {
  std::filesystem::create_directory(config_.path());
  EXPECT_EQ(initialise(), 3U);
}

// As another user, because nothing is unreadable for root.
void initialise_as_nobody() {
  constexpr uid_t nobody = 65534;
  const bool changed = geteuid() != 0 || setresuid(nobody, nobody, nobody) == 0;
  std::_Exit(changed && error_of(TAVInitialize()) == 3 ? 0 : 1);
}

TEST_F(Configuration, AnUnreadableFileFailsWith3) {
  start();
  config_.write_servers({sim_->configured()});
  const auto folder = std::filesystem::path(config_.path()).parent_path();
  ASSERT_EQ(chmod(folder.c_str(), 0755), 0);
  ASSERT_EQ(ask(), 0U) << "but for its permissions it is good";
  ASSERT_EQ(chmod(config_.path().c_str(), 0), 0);
  TAVExit();
  initialised_ = false;
  EXPECT_EXIT(initialise_as_nobody(), testing::ExitedWithCode(0), "");
}

TEST_F(Configuration, AFileWithoutTheServersKeyFailsWith3) {
  config_.write("[tavlib\\Other\\]\nEndpoint=5000\n");
  EXPECT_EQ(initialise(), 3U);
}

TEST_F(Configuration, AKeyWithoutServersFailsWith3) {
  config_.write("[tavlib\\Addresses\\]\ngwtav=\"127.0.0.1\"\n");
  EXPECT_EQ(initialise(), 3U);
}

TEST_F(Configuration, AServerWithoutPortIsPassedOver) {
  start();
  config_.write("[tavlib\\Addresses\\127.0.0.2\\]\nPassphrase=\"x\"\n" +
                section("Endpoint=" + port() + "\nPassphrase=\"secret\"\n"));
  EXPECT_EQ(ask(), 0U);
  unsigned long second = 0;
  EXPECT_EQ(error_of(TAVEnumServers(1, &second)), 6U);
}

TEST_F(Configuration, OnlyServersWithoutPortFailWith3) {
  config_.write("[tavlib\\Addresses\\127.0.0.1\\]\nPassphrase=\"x\"\n");
  EXPECT_EQ(initialise(), 3U);
}

TEST_F(Configuration, AServerWithoutPortUsesTheMachinesPort) {
  start();
  config_.write(section("Passphrase=\"secret\"\n"));
  TestConfig::write_fallback_port(sim_->configured().port);
  EXPECT_EQ(ask(), 0U);
}

struct Damage {
  const char* name;
  std::string before;  ///< Lines before the server's values.
  std::string after;   ///< Lines behind them.

  friend std::ostream& operator<<(std::ostream& out, const Damage& each) { return out << each.name; }
};

class DamagedLines : public Configuration, public testing::WithParamInterface<Damage> {};

INSTANTIATE_TEST_SUITE_P(
    All, DamagedLines,
    testing::Values(Damage{"WithoutEquals", "Endpoint 5\nnonsense\n", "more nonsense\n"},
                    Damage{"UnknownTypes", "Endpoint=-5\nPassphrase=secret?\n=\n", "x= 5\ny=\n"},
                    Damage{"IndentedLines", " # a name, not a comment\n Endpoint=5\n",
                           "\tPassphrase=\"no\"\n"},
                    Damage{"LaterValuesWin", "Endpoint=5\nPassphrase=\"old\"\n", ""},
                    Damage{"UnknownNames", "Port=\"none\"\n\"=\"\n", "=\"nameless\"\n"},
                    Damage{"UnclosedBracket", "", "[tavlib\\Addresses\\127.0.0.3\nEndpoint=5\n"},
                    Damage{"EmptySections", "", "[]\n[\\]\n[tavlib\\Addresses\\\\]\n"},
                    Damage{"LongLine", "x=\"" + std::string(10000, 'x') + "\"\n", ""},
                    Damage{"ZeroBytes", std::string("a\0b=\"c\0d\"\n", 10), std::string(5000, '\0')},
                    Damage{"HighBytes", "\xff\xfe=\"\x80\"\n", "[\xff\xff\\\xff]\n"},
                    Damage{"NoLastNewline", "", "Unfinished=\"text"},
                    Damage{"OddBytes", "x=$0\ny=$zz\nz=$\n", "w='\nv='a\n"}),
    [](const auto& each) { return std::string(each.param.name); });

TEST_P(DamagedLines, DoNotKeepTheOthersFromCounting) {
  start();
  config_.write(section(GetParam().before + "Endpoint=" + port() + "\nPassphrase=\"secret\"\n") +
                GetParam().after);
  EXPECT_EQ(ask(), 0U);
}

TEST_F(Configuration, LinesMayEndAsOnOtherSystems) {
  start();
  config_.write("[tavlib\\Addresses\\127.0.0.1]\r\nEndpoint=" + port() + "\r\nPassphrase=\"secret\"\r\n");
  EXPECT_EQ(ask(), 0U);
}

TEST_F(Configuration, NamesAreReadWithoutRegardToCase) {
  start();
  config_.write("[TAVLIB\\addresses\\127.0.0.1]\nENDPOINT=" + port() + "\npassphrase=\"secret\"\n");
  EXPECT_EQ(ask(), 0U);
}

TEST_F(Configuration, ARandomFileFailsWith3) {
  std::string content;
  unsigned state = 12345;
  for (int i = 0; i < 100000; ++i) {
    state = state * 1103515245 + 12345;
    content += static_cast<char>(state >> 16);
  }
  config_.write(content);
  EXPECT_EQ(initialise(), 3U);
}

TEST_F(Configuration, ANameThatIsNoAddressIsTheBroadcastAddressToWhichNothingIsSent) {
  start();
  config_.write("[tavlib\\Addresses\\tav.example\\]\nEndpoint=5000\nPassphrase=\"x\"\n" +
                section("Endpoint=" + port() + "\nPassphrase=\"secret\"\n"));
  EXPECT_EQ(ask(), 0U) << "the other server works";
  unsigned long address = 0;
  ASSERT_EQ(TAVEnumServers(1, &address), 1);
  EXPECT_EQ(address, 0xffffffffUL);
  unsigned version = 0;
  EXPECT_EQ(error_of(TAVQueryVersion(address, &version)), 12U);
}

TEST_F(Configuration, TheLaterOfTwoSectionsForOneServerCounts) {
  start();
  config_.write(section("Endpoint=5\nPassphrase=\"other\"\n") +
                section("Endpoint=" + port() + "\nPassphrase=\"secret\"\n"));
  EXPECT_EQ(ask(), 0U);
}

// Of a port number only the low 16 bits count.
class OutOfRangePort : public Configuration, public testing::WithParamInterface<std::uint64_t> {};

INSTANTIATE_TEST_SUITE_P(All, OutOfRangePort, testing::Values(0x10000, 0x7fff0000, 0xffff0000));

TEST_P(OutOfRangePort, IsCutTo16Bits) {
  start();
  const std::uint64_t number = GetParam() + sim_->configured().port;
  config_.write(section("Endpoint=" + std::to_string(number) + "\nPassphrase=\"secret\"\n"));
  EXPECT_EQ(ask(), 0U);
}

TEST_F(Configuration, NothingIsSentToPort0) {
  start();
  config_.write(section("Endpoint=65536\nPassphrase=\"secret\"\n"));
  EXPECT_EQ(ask(), 12U);
}

class PassPhraseOf : public Configuration, public testing::WithParamInterface<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(Characters, PassPhraseOf, testing::Values(0, 1, 4, 5, 6, 15, 16, 17, 300),
                         testing::PrintToStringParamName());

TEST_P(PassPhraseOf, ReachesAServerWithTheSameOne) {
  const std::string passphrase(GetParam(), 'p');
  start(passphrase);
  config_.write_servers({sim_->configured()});
  EXPECT_EQ(ask(), 0U);
}

TEST_F(Configuration, APassPhraseMayBeMissing) {
  start("");
  config_.write(section("Endpoint=" + port() + "\n"));
  EXPECT_EQ(ask(), 0U);
}

TEST_F(Configuration, APassPhraseOfOneSpaceIsTheEmptyOne) {
  start("");
  config_.write(section("Endpoint=" + port() + "\nPassphrase=\" \"\n"));
  EXPECT_EQ(ask(), 0U);
}

TEST_F(Configuration, APassPhraseOfTwoSpacesIsItself) {
  start("  ");
  config_.write(section("Endpoint=" + port() + "\nPassphrase=\"  \"\n"));
  EXPECT_EQ(ask(), 0U);
}

TEST_F(Configuration, APassPhraseMayHoldAnyCharacter) {
  start("a\"b\\c=d#[\xc3\xa9]");
  config_.write(section("Endpoint=" + port() + "\nPassphrase=\"a\\\"b\\\\c=d#[\xc3\xa9]\"\n"));
  EXPECT_EQ(ask(), 0U);
}

struct TwoPhrases {
  const char* name;
  const char* servers;
  const char* hosts;
  unsigned outcome;

  friend std::ostream& operator<<(std::ostream& out, const TwoPhrases& each) { return out << each.name; }
};

class PassPhrases : public Configuration, public testing::WithParamInterface<TwoPhrases> {};

INSTANTIATE_TEST_SUITE_P(All, PassPhrases,
                         testing::Values(TwoPhrases{"Agree16", "0123456789abcdefX", "0123456789abcdefY", 0},
                                         TwoPhrases{"Differ16th", "0123456789abcdeX", "0123456789abcdeY", 4},
                                         TwoPhrases{"DifferAfterTheCiphersPart", "01234X", "01234Y", 4},
                                         TwoPhrases{"DifferInTheCiphersPart", "0123X", "0123Y", 4},
                                         TwoPhrases{"DifferInCase", "secret", "SECRET", 4}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_P(PassPhrases, AgreeInTheirFirst16Characters) {
  start(GetParam().servers);
  config_.write_servers({{"127.0.0.1", sim_->configured().port, GetParam().hosts}});
  const ScriptedTime time(GetParam().outcome == 0 ? 1 : 0);
  EXPECT_EQ(ask(), GetParam().outcome);
}

}  // namespace
}  // namespace tavtest

#include "tavsim/options.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tavsim/input_error.h"

namespace tavsim {
namespace {

using Arguments = std::vector<std::string>;

Options parse_all(const Arguments& arguments) {
  std::vector<const char*> argv;
  for (const std::string& argument : arguments) {
    argv.push_back(argument.c_str());
  }
  return parse_options(static_cast<int>(argv.size()), argv.data());
}

Options parse(Arguments arguments) {
  arguments.insert(arguments.begin(), {"tavsim", "--passphrase", "secret"});
  return parse_all(arguments);
}

TEST(Options, DefaultsServeAFreeLoopbackPortWithoutFaults) {
  const Options options = parse({});
  EXPECT_EQ(ntohl(options.address.sin_addr.s_addr), 0x7f000001U);
  EXPECT_EQ(options.address.sin_port, 0);
  EXPECT_EQ(options.passphrase, "secret");
  EXPECT_EQ(options.entries_file, "");
  EXPECT_TRUE(options.rules.empty());
  EXPECT_EQ(options.count, 0U);
  EXPECT_FALSE(options.trace || options.trace_hex);
  EXPECT_FALSE(options.faults.truncate_to.has_value());
  EXPECT_EQ(options.help, "");
}

TEST(Options, TakesEachOption) {
  const Options options = parse({"--address",
                                 "127.9.8.7",
                                 "--port",
                                 "5000",
                                 "--entries",
                                 "users.json",
                                 "--version-word",
                                 "65537",
                                 "--count",
                                 "3",
                                 "--seed",
                                 "9",
                                 "--interim-count",
                                 "4",
                                 "--interim-gap-ms",
                                 "5",
                                 "--delay-ms",
                                 "6",
                                 "--truncate-to",
                                 "0",
                                 "--flood-count",
                                 "8",
                                 "--final-after-error",
                                 "--trace"});
  EXPECT_EQ(ntohl(options.address.sin_addr.s_addr), 0x7f090807U);
  EXPECT_EQ(ntohs(options.address.sin_port), 5000);
  EXPECT_EQ(options.entries_file, "users.json");
  EXPECT_EQ(options.version, 65537U);
  EXPECT_EQ(options.count, 3U);
  EXPECT_EQ(options.seed, 9U);
  EXPECT_EQ(options.faults.interim_count, 4U);
  EXPECT_EQ(options.faults.interim_gap, std::chrono::milliseconds(5));
  EXPECT_EQ(options.faults.delay, std::chrono::milliseconds(6));
  EXPECT_EQ(options.faults.truncate_to, 0U);
  EXPECT_EQ(options.faults.flood_count, 8U);
  EXPECT_EQ(options.faults.seed, 9U);
  EXPECT_TRUE(options.faults.final_after_error);
  EXPECT_TRUE(options.trace);
  EXPECT_FALSE(options.trace_hex);
}

TEST(Options, FaultsMayBeRepeated) {
  const Options options = parse({"--fault", "loss=every:2", "--fault", "id=prob:0.5"});
  ASSERT_EQ(options.rules.size(), 2U);
  EXPECT_EQ(options.rules[0].fault, Fault::loss);
  EXPECT_EQ(options.rules[0].when, FaultRule::When::every);
  EXPECT_EQ(options.rules[0].count, 2U);
  EXPECT_EQ(options.rules[1].fault, Fault::id);
  EXPECT_EQ(options.rules[1].when, FaultRule::When::probability);
  EXPECT_EQ(options.rules[1].chance, 0.5);
}

TEST(Options, HexTraceImpliesTrace) {
  EXPECT_TRUE(parse({"--trace-hex"}).trace);
}

TEST(Options, AnEmptyPassPhraseIsAPassPhrase) {
  EXPECT_EQ(parse_all({"tavsim", "--passphrase", ""}).passphrase, "");
}

TEST(Options, HelpNamesEveryFault) {
  const std::string help = parse({"--help"}).help;
  for (const char* kind : {"interim", "error", "delay", "loss", "duplicate", "reorder", "digest", "id",
                           "truncate", "corrupt", "replay", "flood", "Examples:"}) {
    EXPECT_NE(help.find(kind), std::string::npos) << kind;
  }
}

TEST(Options, ThePassPhraseIsRequired) {
  EXPECT_THROW(parse_all({"tavsim"}), InputError);
}

class BadOption : public testing::TestWithParam<Arguments> {};

TEST_P(BadOption, IsRefused) {
  EXPECT_THROW(parse(GetParam()), InputError);
}

INSTANTIATE_TEST_SUITE_P(Arguments, BadOption,
                         testing::Values(Arguments{"--address", "126.255.255.255"},
                                         Arguments{"--address", "128.0.0.1"},
                                         Arguments{"--address", "0.0.0.0"},
                                         Arguments{"--address", "localhost"}, Arguments{"--port", "65536"},
                                         Arguments{"--port", "-1"}, Arguments{"--version-word", "4294967296"},
                                         Arguments{"--count", "many"}, Arguments{"--fault", "loss"},
                                         Arguments{"--fault"}, Arguments{"--unknown"}, Arguments{"file"},
                                         Arguments{"--fault", "loss=every:1", "id=every:1"}));

}  // namespace
}  // namespace tavsim

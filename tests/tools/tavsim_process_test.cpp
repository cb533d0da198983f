// The program itself: command line, sockets, signals and trace.

#include "tavsim_process.h"

#include <gtest/gtest.h>
#include <signal.h>

#include "support/oracle.h"
#include "support/temp_folder.h"
#include "support/wire_packet.h"

namespace tavtest {
namespace {

constexpr const char* passphrase = "secret";

Bytes framed(const Bytes& packet) {
  return frame_request(packet, passphrase);
}
Bytes version_request(std::uint32_t id) {
  return framed(make_packet(1, id));
}

std::vector<std::string> with_passphrase(std::vector<std::string> more = {}) {
  more.insert(more.begin(), {"--passphrase", passphrase});
  return more;
}

class StopSignal : public testing::TestWithParam<int> {};

TEST_P(StopSignal, EndsTheProgramWithCodeZero) {
  TavsimProcess tavsim(with_passphrase());
  tavsim.wait_for_port();
  tavsim.signal(GetParam());
  EXPECT_EQ(tavsim.wait(), 0);
  EXPECT_EQ(tavsim.read_line(), "");
  EXPECT_EQ(tavsim.read_errors(), "");
}

INSTANTIATE_TEST_SUITE_P(Signals, StopSignal, testing::Values(SIGTERM, SIGINT));

TEST(TavsimProgram, AnswersAVersionQuery) {
  TavsimProcess tavsim(with_passphrase({"--address", "127.3.2.1", "--version-word", "16909060"}));
  const Client client("127.3.2.1", tavsim.wait_for_port("127.3.2.1"));
  client.send(version_request(11));
  Bytes expected = make_packet(0x81, 11);
  put_be32(expected, 28, 0x01020304);
  EXPECT_EQ(client.receive(), seal_reply(expected, passphrase));
}

// The descriptor of each reply is copied into the next request, as a client that keeps it as its cursor does.
TEST(TavsimProgram, EnumeratesTheEntriesOfItsFile) {
  TavsimProcess tavsim(with_passphrase({"--entries", SAMPLE_USERS}));
  const Client client("127.0.0.1", tavsim.wait_for_port());
  WireEntry cursor;
  std::uint32_t entries = 0;
  for (bool more = true; more;) {
    client.send(framed(query_packet(entries + 1, 0, 0, 0, cursor)));
    const Bytes reply = client.receive();
    ASSERT_TRUE(digest_is_right(reply, passphrase));
    more = get_be32(reply, 28) == 1;
    entries += more ? 1 : 0;
    cursor.word13 = more ? get_be32(reply, 80) : 0;
  }
  EXPECT_EQ(entries, 12U);
}

TEST(TavsimProgram, StopsAfterTheGivenCountWhenAllIsSent) {
  TavsimProcess tavsim(with_passphrase(
      {"--count", "2", "--fault", "reorder=every:2", "--fault", "delay=first:1", "--delay-ms", "1"}));
  const Client client("127.0.0.1", tavsim.wait_for_port());
  client.send({1, 2, 3});
  client.send(version_request(1));
  client.send(version_request(2));
  EXPECT_EQ(tavsim.wait(), 0);
  std::uint32_t ids = get_be32(client.receive(), 8);
  ids += get_be32(client.receive(), 8);
  EXPECT_EQ(ids, 3U) << "one reply was delayed, the other held back";
  EXPECT_TRUE(client.is_idle());
}

TEST(TavsimProgram, ADelayedReplyBlocksNeitherOthersNorTheEnd) {
  TavsimProcess tavsim(with_passphrase({"--fault", "delay=first:1", "--delay-ms", "3600000"}));
  const Client client("127.0.0.1", tavsim.wait_for_port());
  client.send(version_request(1));
  client.send(version_request(2));
  EXPECT_EQ(get_be32(client.receive(), 8), 2U);
  tavsim.signal(SIGTERM);
  EXPECT_EQ(tavsim.wait(), 0);
  EXPECT_TRUE(client.is_idle());
}

TEST(TavsimProgram, SurvivesDatagramsThatAreNoRequests) {
  TavsimProcess tavsim(with_passphrase());
  const Client client("127.0.0.1", tavsim.wait_for_port());
  for (const std::size_t size : {0U, 1U, 4U, 12U, 108U, 4108U, 65507U}) {
    client.send(Bytes(size));
  }
  client.send(frame_request(make_packet(1, 8), "wrong"));
  client.send(version_request(9));
  EXPECT_EQ(get_be32(client.receive(), 8), 9U);
  EXPECT_TRUE(client.is_idle());
}

TEST(TavsimProgram, TracesDatagramRequestAndReply) {
  TavsimProcess tavsim(with_passphrase({"--trace-hex"}));
  const Client client("127.0.0.1", tavsim.wait_for_port());
  // Zeros under another length prefix: no cipher text of a request.
  client.send(Bytes(2));
  EXPECT_NE(tavsim.read_line().find(": 0000"), std::string::npos);
  EXPECT_NE(tavsim.read_line().find("2 bytes: bad framing"), std::string::npos);
  client.send(version_request(9));
  const std::string datagram = tavsim.read_line();
  EXPECT_EQ(datagram.find("datagram from 127.0.0.1:"), 0U);
  EXPECT_EQ(datagram.substr(datagram.rfind(' ') + 1).size(), 2U * 108U);
  EXPECT_EQ(datagram.substr(datagram.rfind(' ') + 1, 8), "00000068");
  EXPECT_EQ(tavsim.read_line().find("request 1 from 127.0.0.1:"), 0U);
  EXPECT_NE(tavsim.read_line().find(": 100 bytes code=0x81 id=9"), std::string::npos);
}

struct Refusal {
  const char* name;
  std::vector<std::string> arguments;
  const char* error;

  friend void PrintTo(const Refusal& shown, std::ostream* output) { *output << shown.name; }
};

class RefusedStart : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedStart, EndsWithCodeTwoAndUsage) {
  TavsimProcess tavsim(GetParam().arguments);
  EXPECT_EQ(tavsim.wait(), 2);
  const std::string errors = tavsim.read_errors();
  EXPECT_NE(errors.find(GetParam().error), std::string::npos) << errors;
  EXPECT_NE(errors.find("usage: tavsim "), std::string::npos) << errors;
  EXPECT_EQ(tavsim.read_line(), "");
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, RefusedStart,
    testing::Values(
        Refusal{"NoPassPhrase", {}, "--passphrase is required"},
        Refusal{"OutsideLoopback", with_passphrase({"--address", "192.0.2.1"}), "inside 127.0.0.0/8"},
        Refusal{"UnknownOption", with_passphrase({"--colour"}), "--colour"},
        Refusal{"BadFault", with_passphrase({"--fault", "fire=every:1"}), "no such fault: \"fire\""},
        Refusal{"NoEntriesFile", with_passphrase({"--entries", "/nonexistent"}), "No such file"}),
    [](const auto& test) { return test.param.name; });

TEST(TavsimProgram, NamesTheEntryAndTheFieldOfABadFile) {
  const TempFolder folder;
  write_file(folder.file("bad.json"), R"([{"address": "10.0.0.1"}, {"address": "10.0.0"}])");
  TavsimProcess tavsim(with_passphrase({"--entries", folder.file("bad.json")}));
  EXPECT_EQ(tavsim.wait(), 2);
  EXPECT_NE(tavsim.read_errors().find("bad.json: entry 2: field \"address\": must be a dotted quad"),
            std::string::npos);
}

TEST(TavsimProgram, APortInUseIsAFailure) {
  TavsimProcess first(with_passphrase());
  const std::string port = std::to_string(first.wait_for_port());
  TavsimProcess second(with_passphrase({"--port", port}));
  EXPECT_EQ(second.wait(), 1);
  EXPECT_NE(second.read_errors().find("bind"), std::string::npos);
}

TEST(TavsimProgram, PrintsItsHelp) {
  TavsimProcess tavsim({"--help"});
  EXPECT_EQ(tavsim.wait(), 0);
  EXPECT_NE(tavsim.read_line(), "");
  EXPECT_EQ(tavsim.read_errors(), "");
}

}  // namespace
}  // namespace tavtest

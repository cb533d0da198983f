// Every code of the last error, produced by the library against a server process.
#include <gtest/gtest.h>

#include <clocale>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "conformance/host.h"
#include "conformance/tavsim.h"
#include "support/fake_time.h"

namespace tavtest {
namespace {

const unsigned long server = address_of("127.0.0.1");

/// One code and a way to it. The server is started with `arguments`; `produce` gives the code that the host
/// is told.
struct Row {
  unsigned code;
  unsigned number;  ///< As it was published.
  const char* name;
  std::vector<std::string> arguments;
  unsigned (*produce)();

  friend std::ostream& operator<<(std::ostream& out, const Row& each) { return out << each.name; }
};

unsigned ask_version() {
  unsigned version = 0;
  return error_of(TAVQueryVersion(server, &version));
}

unsigned ask_silent_server() {
  const FakeTime clock;
  return ask_version();
}

unsigned initialise_without_configuration() {
  TAVExit();
  const TestConfig empty;
  const unsigned code = error_of(TAVInitialize());
  EXPECT_EQ(code, 3U);
  const TestConfig again({{"127.0.0.1", 9, "secret"}});
  EXPECT_EQ(TAVInitialize(), 1);
  return code;
}

unsigned enumerate_past_the_end() {
  unsigned long address = 0;
  return error_of(TAVEnumServers(1, &address));
}

unsigned ask_without_library() {
  TAVExit();
  const unsigned code = ask_version();
  EXPECT_EQ(TAVInitialize(), 1);
  return code;
}

// 0xff is no character of UTF-8.
unsigned ask_for_an_unconvertible_name() {
  EXPECT_NE(setlocale(LC_CTYPE, "C.UTF-8"), nullptr);
  char user[] = "\xff";
  _TAVENTRYA filter{};
  filter.user = user;
  TAVQueryEnum* query = nullptr;
  const unsigned code = error_of(TAVQueryStartA(&filter, 1, 0, server, 0, &query));
  EXPECT_EQ(query, nullptr);
  setlocale(LC_CTYPE, "C");
  return code;
}

unsigned send_too_large_a_packet() {
  std::vector<unsigned char> memory(sizeof(_TAVPACKET) + 1);
  ServerInterface transport(server, 9, "secret");
  return transport.TransactServer(reinterpret_cast<_TAVPACKET*>(memory.data()), 4097, 15000);
}

unsigned ask_an_unknown_server() {
  unsigned version = 0;
  return error_of(TAVQueryVersion(address_of("127.0.0.9"), &version));
}

// The system refuses to send to the broadcast address.
unsigned send_where_nothing_can_be_sent() {
  ServerInterface transport(address_of("255.255.255.255"), 9, "secret");
  ServerInterface::ASyncRequest request;
  return transport.StartRequest(&request);
}

unsigned ask_and_go_on() {
  unsigned version = 0;
  TAVASYNC async{};
  const unsigned code = error_of(TAVQueryVersionAs(server, &version, &async));
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  return code;
}

unsigned step_twice() {
  _TAVENTRYW entry{};
  TAVQueryEnum* query = nullptr;
  EXPECT_EQ(TAVQueryStartW(&entry, 0, 0, server, 0, &query), 1);
  TAVASYNC async{};
  EXPECT_EQ(error_of(TAVQueryNextAsW(query, &entry, &async)), 14U);
  const unsigned code = error_of(TAVQueryNextW(query, &entry));
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  TAVQueryClose(query);
  return code;
}

unsigned abandon() {
  ServerInterface transport(server, 9, "secret");
  ServerInterface::ASyncRequest request;
  request.packet.length[3] = 100;
  EXPECT_EQ(transport.StartRequest(&request), 14U);
  EXPECT_EQ(transport.AbandonRequest(&request), 0U);
  return transport.StatusRequest(&request);
}

const std::vector<Row> table{
    {2, TAV_E_SERVERERROR, "ServerError", {"--fault", "error=every:1"}, ask_version},
    {3, TAV_E_CONFIG, "Config", {}, initialise_without_configuration},
    {4, TAV_E_ABANDONED, "Abandoned", {"--fault", "loss=every:1"}, ask_silent_server},
    {6, TAV_E_NOMORE, "NoMore", {}, enumerate_past_the_end},
    {7, TAV_E_NOTINITIALISED, "NotInitialised", {}, ask_without_library},
    {9, TAV_E_NOMEMORY, "NoMemory", {}, ask_for_an_unconvertible_name},
    {10, TAV_E_TOOBIG, "TooBig", {}, send_too_large_a_packet},
    {11, TAV_E_UNKNOWNSERVER, "UnknownServer", {}, ask_an_unknown_server},
    {12, TAV_E_SENDFAILED, "SendFailed", {}, send_where_nothing_can_be_sent},
    {13, TAV_E_BADPACKET, "BadPacket", {"--fault", "digest=every:1"}, ask_version},
    {14, TAV_E_PENDING, "Pending", {}, ask_and_go_on},
    {15, TAV_E_BUSY, "Busy", {}, step_twice},
    {17, TAV_E_CANCELLED, "Cancelled", {}, abandon}};

class ErrorTable : public testing::TestWithParam<Row> {};

TEST_P(ErrorTable, CodeIsProduced) {
  Tavsim sim({"127.0.0.1", "secret", sample_entries, GetParam().arguments});
  const TestConfig config({sim.configured()});
  const Library library;
  EXPECT_EQ(GetParam().produce(), GetParam().code);
  EXPECT_EQ(GetParam().number, GetParam().code);
}

INSTANTIATE_TEST_SUITE_P(All, ErrorTable, testing::ValuesIn(table),
                         [](const auto& each) { return std::string(each.param.name); });

TEST(ErrorTableRows, AreAllCodes) {
  std::set<unsigned> codes;
  for (const Row& row : table)
    codes.insert(row.code);
  EXPECT_EQ(codes, (std::set<unsigned>{2, 3, 4, 6, 7, 9, 10, 11, 12, 13, 14, 15, 17}));
}

}  // namespace
}  // namespace tavtest

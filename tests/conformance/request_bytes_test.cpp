// Every kind of request, as a server in another process receives it: the datagram is compared byte by byte
// with one whose fields are laid by hand and whose digest and cipher come from libcrypto.
#include <gtest/gtest.h>

#include <string>

#include "conformance/host.h"
#include "conformance/tavsim.h"
#include "support/oracle.h"
#include "support/wire_packet.h"

namespace tavtest {
namespace {

const std::string passphrase = "correct horse battery staple";

class RequestBytes : public testing::Test {
 protected:
  // The next datagram must be `expected` under the id that it carries. Returns the id.
  std::uint32_t expect_datagram(Bytes expected) {
    const Bytes datagram = server_.next_datagram();
    const std::uint32_t id = get_be32(open_request(datagram, passphrase), 8);
    put_be32(expected, 8, id);
    EXPECT_EQ(datagram, frame_request(expected, passphrase));
    return id;
  }

  Tavsim server_{TavsimOptions{"127.0.0.1", passphrase, sample_entries, {"--trace-hex"}}};
  TestConfig config_{{server_.configured()}, "127.0.0.1"};
  Library library_;
};

TEST_F(RequestBytes, VersionQuery) {
  unsigned version = 0;
  ASSERT_EQ(TAVQueryVersion(server_.number(), &version), 1);
  expect_datagram(make_packet(1, 0));
}

TEST_F(RequestBytes, APacketOf100BytesTravelsIn108) {
  unsigned version = 0;
  ASSERT_EQ(TAVQueryVersion(server_.number(), &version), 1);
  const Bytes datagram = server_.next_datagram();
  EXPECT_EQ(datagram.size(), 108U);
  EXPECT_EQ(Bytes(datagram.begin(), datagram.begin() + 4), (Bytes{0, 0, 0, 104}));
}

TEST_F(RequestBytes, EachRequestHasTheNextId) {
  unsigned version = 0;
  ASSERT_EQ(TAVQueryVersion(server_.number(), &version), 1);
  ASSERT_EQ(TAVQueryVersion(server_.number(), &version), 1);
  const std::uint32_t first = expect_datagram(make_packet(1, 0));
  EXPECT_EQ(expect_datagram(make_packet(1, 0)), first + 1);
}

WireEntry wire_entry() {
  WireEntry entry;
  entry.tag = 0x01020304;
  entry.user = u"o'brien";
  entry.string2 = u"";
  entry.string3 = u"a \"b\"";
  entry.data = {0x00, 0xff, 0x27};
  entry.address = 0x0b00010a;
  entry.word7 = 0x70000007;
  entry.flag8 = 5;
  entry.word9 = 9;
  entry.word10 = 10;
  entry.word11 = 11;
  entry.word12 = 0;
  entry.word13 = 13;
  entry.word14 = 0xfffffffe;
  return entry;
}

// The same as a host's record: tag, three texts, block and its length, then the words.
template <typename Record, typename Character>
Record host_entry(Character* user, Character* string2, Character* string3, unsigned char* data) {
  return {0x01020304, user, string2, string3, data, 3,          0x0b00010a, 0x70000007, 5,
          9,          10,   11,      0,       13,   0xfffffffe, 0,          0,          0};
}

TEST_F(RequestBytes, AddEntryWithWideTexts) {
  wchar_t user[] = L"o'brien";
  wchar_t string2[] = L"";
  wchar_t string3[] = L"a \"b\"";
  unsigned char data[] = {0x00, 0xff, 0x27};
  const auto entry = host_entry<_TAVENTRYW>(user, string2, string3, data);
  ASSERT_EQ(TAVAddEntryW(&entry), 2);
  expect_datagram(entry_packet(2, 0, wire_entry()));
}

TEST_F(RequestBytes, AddEntryWith8BitTexts) {
  char user[] = "o'brien";
  char string2[] = "";
  char string3[] = "a \"b\"";
  unsigned char data[] = {0x00, 0xff, 0x27};
  const auto entry = host_entry<_TAVENTRYA>(user, string2, string3, data);
  ASSERT_EQ(TAVAddEntryA(&entry), 2);
  expect_datagram(entry_packet(2, 0, wire_entry()));
}

TEST_F(RequestBytes, AnEntryWithoutTextsIsAPacketOf100Bytes) {
  const _TAVENTRYA entry{};
  ASSERT_EQ(TAVAddEntryA(&entry), 2);
  const Bytes expected = entry_packet(2, 0, WireEntry{});
  ASSERT_EQ(expected.size(), 100U);
  expect_datagram(expected);
}

TEST_F(RequestBytes, CharactersTravelAsSixteenBits) {
  wchar_t user[] = L"Zo\x00eb \x20ac \x1f600";  // the last one keeps its low 16 bits
  _TAVENTRYW entry{};
  entry.user = user;
  ASSERT_EQ(TAVAddEntryW(&entry), 2);
  WireEntry expected;
  expected.user = u"Zo\x00eb \x20ac \xf600";
  expect_datagram(entry_packet(2, 0, expected));
}

// The first step carries the filter, with word13 cleared, and each further one the entry before.
TEST_F(RequestBytes, EntryQueries) {
  ASSERT_TRUE(finds_two_entries(server_.number()));

  WireEntry cursor;
  cursor.user = u"nobody asks for this";
  cursor.word7 = 2;
  expect_datagram(query_packet(0, 0xabc00020, 0x22222222, 0x33333333, cursor));

  cursor.tag = 7;
  cursor.user = u"BRAM OSEI";
  cursor.string2 = u"BOSEI";
  cursor.string3 = u"FINANCE";
  cursor.data = {0x00, 0x01, 0xff};
  cursor.address = 0x0c00010a;
  cursor.flag8 = 1;
  cursor.word9 = 9;
  cursor.word10 = 10;
  cursor.word11 = 11;
  cursor.word13 = 2;  // the server's: it goes on behind its second entry
  cursor.word14 = 14;
  expect_datagram(query_packet(0, 0xabc00020, 0x22222222, 0x33333333, cursor));
}

TEST_F(RequestBytes, An8BitFilterTravelsAsTheSameQuery) {
  char user[] = "Anna Kvist";
  _TAVENTRYA filter{};
  filter.user = user;
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TAVQueryStartA(&filter, 0x001, 2, server_.number(), 3, &query), 1);
  _TAVENTRYA entry{};
  ASSERT_EQ(TAVQueryNextA(query, &entry), 1);
  TAVQueryClose(query);
  WireEntry expected;
  expected.user = u"Anna Kvist";
  expect_datagram(query_packet(0, 0x001, 2, 3, expected));
}

TEST_F(RequestBytes, ALookUpAsksForTheAddressAlone) {
  char user[64];
  char second[64];
  ASSERT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
  ASSERT_EQ(SSO_GetUserByAddr(user_address("10.1.0.11"), user, sizeof user, second, sizeof second), 1);
  SSO_Exit();
  WireEntry expected;
  expected.address = 0x0b00010a;
  expect_datagram(query_packet(0, 0x10010, 0, 0, expected));
}

TEST_F(RequestBytes, Listen) {
  TAVServerList list;
  ASSERT_EQ(list.Listen(0x1234, server_.number()), 1);
  Bytes expected = make_packet(4, 0);
  expected[28] = 0x12;
  expected[29] = 0x34;
  expect_datagram(expected);
}

TEST_F(RequestBytes, StopListening) {
  TAVServerList list;
  ASSERT_EQ(list.ListenStop(server_.number()), 1);
  expect_datagram(make_packet(5, 0));
}

}  // namespace
}  // namespace tavtest

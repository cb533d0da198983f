// The datagrams of a process, from its first request on, in one order: on every host those of datagrams.txt,
// which make_datagrams.py wrote. A program of its own, because a process numbers its requests from 1.
#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "conformance/host.h"
#include "conformance/tavsim.h"

namespace tavtest {
namespace {

class SameDatagrams : public testing::Test {
 protected:
  static void add_entry() {
    wchar_t user[] = L"Zo\x00eb \x20ac";
    wchar_t string2[] = L"";
    wchar_t string3[] = L"a \"b\"";
    unsigned char data[] = {0x00, 0xff, 0x27};
    _TAVENTRYW entry{};
    entry.tag = 0x01020304;
    entry.user = user;
    entry.string2 = string2;
    entry.string3 = string3;
    entry.data = data;
    entry.dataLength = sizeof data;
    entry.address = static_cast<std::uint32_t>(user_address("10.1.0.11"));
    entry.word7 = 0x70000007;
    entry.flag8 = 5;
    entry.word9 = 9;
    entry.word10 = 10;
    entry.word11 = 11;
    entry.word13 = 13;
    entry.word14 = 0xfffffffe;
    EXPECT_EQ(TAVAddEntryW(&entry), 2);
  }

  static void look_up() {
    char user[65] = "";
    ASSERT_STREQ(SSO_Init(), "Norvel TAV/TIZ");
    EXPECT_EQ(SSO_GetUserByAddr(user_address("10.1.0.11"), user, 64, nullptr, 0), 1);
    SSO_Exit();
  }

  Tavsim server_{TavsimOptions{"127.0.0.1", "correct horse battery staple", sample_entries, {"--trace-hex"}}};
  TestConfig config_{{server_.configured()}, "127.0.0.1"};
  Library library_;
};

TEST_F(SameDatagrams, LeaveEveryHost) {
  unsigned version = 0;
  EXPECT_EQ(TAVQueryVersion(server_.number(), &version), 1);
  add_entry();
  EXPECT_TRUE(finds_two_entries(server_.number()));
  look_up();
  TAVServerList list;
  EXPECT_EQ(list.Listen(0x1234, server_.number()), 1);
  EXPECT_EQ(list.ListenStop(server_.number()), 1);

  std::ifstream expected(DATAGRAMS);
  int number = 0;
  for (std::string datagram; std::getline(expected, datagram); ++number)
    EXPECT_EQ(hex(server_.next_datagram()), datagram) << number;
  EXPECT_EQ(number, 7);
}

}  // namespace
}  // namespace tavtest

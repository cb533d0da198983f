#include "tavsim/trace.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <sstream>

#include "support/wire_packet.h"

namespace tavsim {
namespace {

sockaddr_in peer() {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = inet_addr("127.0.0.9");
  address.sin_port = htons(4000);
  return address;
}

TEST(Trace, DescribesAPeer) {
  EXPECT_EQ(describe(peer()), "127.0.0.9:4000");
}

TEST(Trace, DescribesTheFieldsOfAnEntryThatAreNotZero) {
  Entry entry;
  entry.address = 0x0302010a;
  EXPECT_EQ(describe(entry), "address=10.1.2.3");
  entry.user = u"a\"\\\n€";
  entry.string3 = u"x";
  entry.flag8 = 1;
  entry.word14 = 0xabc;
  entry.data = {0x0f, 0xf0};
  EXPECT_EQ(describe(entry),
            R"(address=10.1.2.3 user="a\"\\\u000a\u20ac" string3="x" flag8=0x1 word14=0xabc data=0ff0)");
}

TEST(Trace, DescribesEachRequest) {
  const auto text = [](const Bytes& packet) { return describe(decode_request(packet)); };
  EXPECT_EQ(text(tavtest::make_packet(1, 5)), "version id=5 length=100");
  EXPECT_EQ(text(tavtest::make_packet(5, 5)), "stop-listening id=5 length=100");
  EXPECT_EQ(text(tavtest::make_packet(0xff, 5)), "code-255 id=5 length=100");
  EXPECT_EQ(text(tavtest::entry_packet(2, 5, {})), "add id=5 length=100 address=0.0.0.0");
  EXPECT_EQ(text(tavtest::query_packet(5, 0x10010, 0, 3, {})),
            "query id=5 length=100 a1=0x10010 a2=0x0 a3=0x3 address=0.0.0.0");
  Bytes listen = tavtest::make_packet(4, 5);
  tavtest::put_be16(listen, 28, 80);
  EXPECT_EQ(text(listen), "listen id=5 length=100 port=80");
}

TEST(Trace, DescribesWhatIsLeftOfAReply) {
  EXPECT_EQ(describe_reply(tavtest::make_packet(0x81, 5)), "100 bytes code=0x81 id=5");
  EXPECT_EQ(describe_reply(Bytes(11)), "11 bytes code=0x0");
  EXPECT_EQ(describe_reply(Bytes(4)), "4 bytes");
  EXPECT_EQ(describe_reply({}), "0 bytes");
}

TEST(Trace, PrintsOnlyWhatIsWanted) {
  const auto printed = [](bool lines, bool hex) {
    std::ostringstream output;
    const Trace trace(output, lines, hex);
    trace.line("line");
    trace.raw(peer(), Bytes{0x00, 0xab});
    return output.str();
  };
  EXPECT_EQ(printed(false, false), "");
  EXPECT_EQ(printed(true, false), "line\n");
  EXPECT_EQ(printed(true, true), "line\ndatagram from 127.0.0.9:4000: 00ab\n");
}

}  // namespace
}  // namespace tavsim

#include "tavsim/entry_codec.h"

#include <gtest/gtest.h>

namespace tavsim {
namespace {

// Texts of 2, 0 and 1 characters and three bytes of data: 100 + 4 * 3 + 3 bytes.
Entry small_entry() {
  Entry entry;
  entry.tag = 0x01020304;
  entry.user = u"Aé";
  entry.string3 = u"\u20ac";
  entry.data = {0xd1, 0xd2, 0xd3};
  entry.address = 0x0a010203;
  entry.word7 = 0x07070707;
  entry.flag8 = 0x08080808;
  entry.word9 = 0x09090909;
  entry.word10 = 0x10101010;
  entry.word11 = 0x11111111;
  entry.word12 = 0x12121212;
  entry.word13 = 0x13131313;
  entry.word14 = 0x14141414;
  return entry;
}

constexpr std::size_t small_size = 115;

// The descriptor, and from 56 on what stands behind byte 96 of the packet.
const Bytes small_descriptor = {
    0x01, 0x02, 0x03, 0x04,                          // tag
    0,    0,    0,    2,                             // user: offset 0, 2 characters
    0,    0,    0,    0,                             // string2: none
    0,    8,    0,    1,                             // string3: offset 8, 1 character
    0,    12,   0,    3,                             // data: offset 12, 3 bytes
    0x0a, 0x01, 0x02, 0x03,                          // address
    0x07, 0x07, 0x07, 0x07, 0x09, 0x09, 0x09, 0x09,  // word7, word9
    0x10, 0x10, 0x10, 0x10, 0x11, 0x11, 0x11, 0x11,  // word10, word11
    0x12, 0x12, 0x12, 0x12, 0x08, 0x08, 0x08, 0x08,  // word12, flag8
    0x13, 0x13, 0x13, 0x13, 0x14, 0x14, 0x14, 0x14   // word13, word14
};
const Bytes small_data = {'A',  0,    0xe9, 0, 0, 0, 0, 0,  // four bytes are kept for each character
                          0xac, 0x20, 0,    0,              // low byte first
                          0xd1, 0xd2, 0xd3};

Bytes packet_with(std::size_t descriptor_offset, std::size_t size = small_size) {
  Bytes packet(size);
  std::copy(small_descriptor.begin(), small_descriptor.end(),
            packet.begin() + static_cast<std::ptrdiff_t>(descriptor_offset));
  std::copy(small_data.begin(), small_data.end(), packet.begin() + 96);
  return packet;
}

TEST(EntryCodec, WritesEachFieldAtItsPlace) {
  Bytes packet(entry_packet_size(small_entry()));
  write_entry(packet, small_entry());
  EXPECT_EQ(to_hex(packet), to_hex(packet_with(32)));
}

TEST(EntryCodec, AnEmptyEntryNeedsAHundredBytes) {
  EXPECT_EQ(entry_packet_size(Entry{}), 100U);
}

TEST(EntryCodec, EachCharacterNeedsFourBytesAndEachByteOne) {
  EXPECT_EQ(entry_packet_size(small_entry()), small_size);
}

class ReadEntryAt : public testing::TestWithParam<std::size_t> {};

TEST_P(ReadEntryAt, FindsEachField) {
  Entry entry;
  ASSERT_TRUE(read_entry(packet_with(GetParam()), GetParam(), entry));
  EXPECT_EQ(entry, small_entry());
}

INSTANTIATE_TEST_SUITE_P(Offsets, ReadEntryAt, testing::Values(32, 40));

TEST(EntryCodec, ReadingReplacesWhatTheRecordHeld) {
  Entry entry = small_entry();
  ASSERT_TRUE(read_entry(Bytes(100), 40, entry));
  EXPECT_EQ(entry, Entry{});
}

// A slot of the descriptor and values that reach one byte too far, or exactly to the end of a 120-byte
// packet.
struct Reach {
  const char* name;
  std::size_t slot;
  std::uint16_t offset;
  std::uint16_t count;
  bool fits;

  friend void PrintTo(const Reach& shown, std::ostream* output) { *output << shown.name; }
};

class EntryReach : public testing::TestWithParam<Reach> {};

TEST_P(EntryReach, IsCheckedAgainstThePacket) {
  Bytes packet(120);
  store_be16(packet, 40 + GetParam().slot, GetParam().offset);
  store_be16(packet, 40 + GetParam().slot + 2, GetParam().count);
  Entry entry;
  EXPECT_EQ(read_entry(packet, 40, entry), GetParam().fits);
}

INSTANTIATE_TEST_SUITE_P(
    Slots, EntryReach,
    testing::Values(Reach{"UserToTheEnd", 4, 0, 6, true}, Reach{"UserTooLong", 4, 0, 7, false},
                    Reach{"UserTooFarBack", 4, 1, 6, false}, Reach{"String2TooLong", 8, 20, 2, false},
                    Reach{"String3ToTheEnd", 12, 20, 1, true},
                    Reach{"String3FarOutside", 12, 65535, 65535, false},
                    Reach{"DataToTheEnd", 16, 21, 3, true}, Reach{"DataTooLong", 16, 21, 4, false},
                    Reach{"NothingFarOutside", 4, 65535, 0, true},
                    Reach{"NoDataFarOutside", 16, 65535, 0, true}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace tavsim

#include "platform/byte_order.h"

#include <gmock/gmock.h>

#include <array>

namespace tavlib {
namespace {

using testing::ElementsAre;

// One byte in front, so that the numbers lie at an odd address.
constexpr std::array<unsigned char, 5> bytes{0x00, 0xf1, 0x82, 0x93, 0xa4};

TEST(ByteOrder, LoadsNumbersWithTheMostSignificantByteFirst) {
  static_assert(load_be16(bytes.data() + 1) == 0xf182);
  static_assert(load_be32(bytes.data() + 1) == 0xf18293a4);
  EXPECT_EQ(load_be16(bytes.data() + 1), 0xf182);
  EXPECT_EQ(load_be32(bytes.data() + 1), 0xf18293a4U);
}

TEST(ByteOrder, LoadsNumbersWithTheLeastSignificantByteFirst) {
  static_assert(load_le16(bytes.data() + 1) == 0x82f1);
  static_assert(load_le32(bytes.data() + 1) == 0xa49382f1);
  EXPECT_EQ(load_le16(bytes.data() + 1), 0x82f1);
  EXPECT_EQ(load_le32(bytes.data() + 1), 0xa49382f1U);
}

TEST(ByteOrder, StoresExactlyTheBytesOfANumber) {
  std::array<unsigned char, 6> room{};
  const auto clear = [&room] { room.fill(0x55); };
  clear();
  store_be16(room.data() + 1, 0xf182);
  EXPECT_THAT(room, ElementsAre(0x55, 0xf1, 0x82, 0x55, 0x55, 0x55));
  clear();
  store_le16(room.data() + 1, 0xf182);
  EXPECT_THAT(room, ElementsAre(0x55, 0x82, 0xf1, 0x55, 0x55, 0x55));
  clear();
  store_be32(room.data() + 1, 0xf18293a4);
  EXPECT_THAT(room, ElementsAre(0x55, 0xf1, 0x82, 0x93, 0xa4, 0x55));
  clear();
  store_le32(room.data() + 1, 0xf18293a4);
  EXPECT_THAT(room, ElementsAre(0x55, 0xa4, 0x93, 0x82, 0xf1, 0x55));
}

}  // namespace
}  // namespace tavlib

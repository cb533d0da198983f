#include <gtest/gtest.h>
#include <tavlib/protocol/entry.h>

#include <cstddef>
#include <cstdint>
#include <type_traits>

// The records are shared with hosts in other languages, so every field's place counts.

namespace {

template <class Entry>
struct FieldOffsets {
  static constexpr std::size_t value[] = {
      offsetof(Entry, tag),        offsetof(Entry, user),          offsetof(Entry, string2),
      offsetof(Entry, string3),    offsetof(Entry, data),          offsetof(Entry, dataLength),
      offsetof(Entry, address),    offsetof(Entry, word7),         offsetof(Entry, flag8),
      offsetof(Entry, word9),      offsetof(Entry, word10),        offsetof(Entry, word11),
      offsetof(Entry, word12),     offsetof(Entry, word13),        offsetof(Entry, word14),
      offsetof(Entry, userLength), offsetof(Entry, string2Length), offsetof(Entry, string3Length)};
};

#if UINTPTR_MAX == 0xffffffff
constexpr std::size_t kOffsets[] = {0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56, 60, 64, 68};
constexpr std::size_t kSize = 72;
#else
constexpr std::size_t kOffsets[] = {0, 8, 16, 24, 32, 40, 44, 48, 52, 56, 60, 64, 68, 72, 76, 80, 84, 88};
constexpr std::size_t kSize = 96;
#endif

template <class Entry>
class EntryLayout : public ::testing::Test {};
using Entries = ::testing::Types<_TAVENTRYA, _TAVENTRYW>;
TYPED_TEST_SUITE(EntryLayout, Entries);

TYPED_TEST(EntryLayout, EighteenFieldsInOrder) {
  for (std::size_t i = 0; i < 18; ++i)
    EXPECT_EQ(FieldOffsets<TypeParam>::value[i], kOffsets[i]) << "field " << i;
  EXPECT_EQ(sizeof(TypeParam), kSize);
}

TYPED_TEST(EntryLayout, WordsAreUnsigned32) {
  EXPECT_TRUE((std::is_same_v<decltype(TypeParam::tag), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(TypeParam::dataLength), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(TypeParam::address), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(TypeParam::flag8), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(TypeParam::word14), std::uint32_t>));
  EXPECT_TRUE((std::is_same_v<decltype(TypeParam::string3Length), std::uint32_t>));
}

TYPED_TEST(EntryLayout, IsPlainData) {
  EXPECT_TRUE(std::is_standard_layout_v<TypeParam>);
  EXPECT_TRUE(std::is_trivially_copyable_v<TypeParam>);
}

TEST(EntryText, IsEightBitOrWide) {
  EXPECT_TRUE((std::is_same_v<decltype(_TAVENTRYA::user), char*>));
  EXPECT_TRUE((std::is_same_v<decltype(_TAVENTRYW::user), wchar_t*>));
  EXPECT_EQ(sizeof(wchar_t), 4U);
}

}  // namespace

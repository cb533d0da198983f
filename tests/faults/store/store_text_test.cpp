// The reader that the other tests compare the library's files with.

#include "faults/store/store_text.h"

#include <gtest/gtest.h>

namespace tavtest {
namespace {

TEST(StoreTextTest, ReadsEachKindOfValue) {
  const StoreText store = read_store(
      "# comment\ntop=1\n[A]\nn=42\nt=\"a \\\"b\\\\\"\nl='one''t\\'o'\nb=$0AFF\n[A\\B\\] rest\nempty=\"\"\n");
  EXPECT_TRUE(store.strays.empty());
  EXPECT_EQ(store.keys.size(), 3U);
  EXPECT_EQ(store.number("", "top"), 1);
  EXPECT_EQ(store.number("A\\", "n"), 42);
  EXPECT_EQ(store.value("A\\", "t"), "a \"b\\");
  EXPECT_EQ(store.value("A\\", "l"), "one,t'o,");
  EXPECT_EQ(store.value("A\\", "b"), "0AFF");
  EXPECT_EQ(store.value("A\\B\\", "empty"), "");
  EXPECT_EQ(store.value("A\\", "empty"), std::nullopt);
  EXPECT_EQ(store.number("C\\", "n"), -1);
}

TEST(StoreTextTest, TakesTheLastSectionOfAKey) {
  const StoreText store = read_store("[A]\nv=1\nw=1\n[A\\]\nv=2\n");
  EXPECT_EQ(store.number("A\\", "v"), 2);
  EXPECT_EQ(store.number("A\\", "w"), -1);
}

TEST(StoreTextTest, TellsWhatIsNoLineOfAStore) {
  const StoreText store = read_store(std::string("[A]\nx\nv=\"a\nw=-1\nz=$A\n[B\nv=1\n\n\0\0\n", 32));
  EXPECT_EQ(store.strays,
            (std::vector<std::string>{"x", "v=\"a", "w=-1", "z=$A", "[B", "v=1", "", std::string(2, '\0')}));
  EXPECT_EQ(store.keys.size(), 1U);
}

TEST(StoreTextTest, KeepsAnUnfinishedLineApart) {
  const StoreText torn = read_store("[A]\nv=1\n[B");
  EXPECT_TRUE(torn.strays.empty());
  EXPECT_EQ(torn.unfinished, "[B");
  EXPECT_EQ(torn, read_store("[A]\nv=1\n"));
  EXPECT_NE(torn, read_store("[A]\nv=1\n[B]"));
  EXPECT_EQ(read_store("[A]\nv=1"), read_store("[A]\nv=1\n"));
}

}  // namespace
}  // namespace tavtest

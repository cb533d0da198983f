#include "faults/store/store_changes.h"

#include <filesystem>

#include "faults/store/file_calls.h"
#include "faults/store/store_text.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

int set_value(const std::string& path) {
  TestKey key(path);
  return key.LoadKey("A", 0, 2, nullptr) == 1 ? set_text(key, "v", "new") : -1;
}

int delete_value(const std::string& path) {
  TestKey key(path);
  return key.LoadKey("A", 0, 2, nullptr) == 1 ? key.DeleteValue("a") : -1;
}

int delete_key(const std::string& path) {
  TestKey root(path);
  return root.LoadKey("", 0, 2, nullptr) == 1 ? root.DeleteKey("B") : -1;
}

int create_key(const std::string& path) {
  return TestKey(path).LoadKey("New", 1, 3, nullptr);
}

// Up to its first bracket the header is that of the key A.
int create_key_with_bracket(const std::string& path) {
  return TestKey(path).LoadKey("A]B", 1, 3, nullptr);
}

/// Some twelve thousand bytes: a commit takes several reads and writes.
std::string many_sections() {
  std::string text;
  for (int i = 10; i < 22; ++i)
    text += "[Large" + std::to_string(i) + "\\]\ntext=\"" + std::string(1000, 'x') + "\"\n";
  return text;
}

}  // namespace

std::vector<StoreChange> store_changes() {
  const std::string large = many_sections();
  return {
      {"ASetValue", "[B]\nb=1\n[A]\na=1\n", "[B\\]\nb=1\n[A\\]\na=1\nv=\"new\"\n", set_value},
      {"AReplacedValue", "[A]\nv=\"old\"\n[B]\n", "[A\\]\nv=\"new\"\n[B\\]\n", set_value},
      {"ADeletedValue", "[A]\na=1\nb=2\n[B]\n", "[A\\]\nb=2\n[B\\]\n", delete_value},
      {"ADeletedKey", "[A]\na=1\n[B]\nb=1\n", "[A\\]\na=1\n", delete_key},
      {"AValueInALargeFile", large + "[A\\]\n", large + "[A\\]\nv=\"new\"\n", set_value},
      {"ACreatedKey", "[A]\na=1\n", "[A]\na=1\n[New\\]\n", create_key, true},
      {"ACreatedKeyAfterALineWithoutItsEnd", "[A]\na=1", "[A]\na=1\n[New\\]\n", create_key, true},
      {"ACreatedKeyWhoseNameHoldsABracket", "[A]\na=1\n", "[A]\na=1\n[A]B\\]\n", create_key_with_bracket,
       true, true, true},
      {"ACreatedKeyWithABracketAfterALineWithoutItsEnd", "[A]\na=1", "[A]\na=1\n[A]B\\]\n",
       create_key_with_bracket, true, true, true},
      {"ACreatedKeyInALargeFile", large, large + "[New\\]\n", create_key, true},
      {"TheFirstKeyOfANewFile", "", "[New\\]\n", create_key, true, false},
  };
}

void prepare(const StoreChange& change, const std::string& path) {
  std::filesystem::remove(path);
  std::filesystem::remove(path + "~");
  if (change.file_exists) write_file(path, change.before);
}

std::string text_of(const std::string& path) {
  return std::filesystem::exists(path) ? read_file(path) : "";
}

bool next_writer_works(const std::string& path) {
  StoreText expected = read_store(text_of(path));
  expected.keys["Next\\"] = {{"v", "next"}};
  const PretendedSyncs pretended;
  TestKey key(path);
  if (key.LoadKey("Next", 1, 3, nullptr) == 0 || set_text(key, "v", "next") == 0) return false;
  if (std::filesystem::exists(path + "~")) return false;
  StoreText store = read_store(text_of(path));
  // What a torn header left behind may have become a line of its own.
  if (!expected.unfinished.empty()) std::erase(store.strays, expected.unfinished);
  return store == expected && store.unfinished.empty();
}

}  // namespace tavtest

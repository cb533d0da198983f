// Registry keys in several threads: each has keys of its own.

#include <gtest/gtest.h>
#include <tavlib/tavlib.h>

#include <string>

#include "faults/hosts/threads.h"
#include "support/temp_folder.h"

using namespace tavtest;

namespace {

// A registry file and a key of it for each thread.
class RegistryThreads : public testing::Test {
 protected:
  static void set(ARegistry& handle, unsigned number) {
    const std::string name = "n" + std::to_string(number);
    const unsigned char text[] = "x";
    EXPECT_EQ(handle.SetValue(name.c_str(), REG_SZ, 2, text), 1);
  }

  // The values in a key.
  static unsigned count_in(const std::string& path, const std::string& key) {
    ARegistryKey* const root = ARegKeyFile(path.c_str());
    ARegistry handle;
    EXPECT_EQ(handle.Open(root, key.c_str(), 0, nullptr, 1), 1);
    unsigned count = 0;
    unsigned size = 0;
    while (handle.EnumValue(count, nullptr, &size) == 1)
      ++count;
    ARegKeyFileClose(root);
    return count;
  }

  static std::string key_of(unsigned number) { return "Key" + std::to_string(number); }

  static constexpr unsigned changes = 10;
  TempFolder folder;
};

}  // namespace

TEST_F(RegistryThreads, ChangeFilesOfTheirOwnAtOnce) {
  in_threads([this](unsigned number) {
    ARegistryKey* const root = ARegKeyFile(folder.file(key_of(number)).c_str());
    ARegistry handle;
    EXPECT_EQ(handle.Open(root, "Key", 1, nullptr, REGISTRY_ACCESS_WRITE), 1);
    for (unsigned i = 0; i < changes; ++i)
      set(handle, i);
    ARegKeyFileClose(root);
  });
  for (unsigned number = 0; number < threads; ++number)
    EXPECT_EQ(count_in(folder.file(key_of(number)), "Key"), changes);
}

TEST_F(RegistryThreads, ChangeKeysOfTheirOwnBelowOneRootAtOnce) {
  const std::string path = folder.file("shared");
  ARegistryKey* const root = ARegKeyFile(path.c_str());
  in_threads([&](unsigned number) {
    ARegistry handle;
    EXPECT_EQ(handle.Open(root, key_of(number).c_str(), 1, nullptr, REGISTRY_ACCESS_WRITE), 1);
    for (unsigned i = 0; i < changes; ++i)
      set(handle, i);
  });
  ARegKeyFileClose(root);
  for (unsigned number = 0; number < threads; ++number)
    EXPECT_EQ(count_in(path, key_of(number)), changes);
}

TEST_F(RegistryThreads, ReadOneFileAtOnce) {
  const std::string path = folder.file("read");
  write_file(path, "[Key\\]\na=\"1\"\nb=\"2\"\n");
  in_threads([&](unsigned) {
    for (unsigned i = 0; i < changes; ++i)
      EXPECT_EQ(count_in(path, "Key"), 2U);
  });
}

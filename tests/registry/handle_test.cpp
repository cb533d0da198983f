#include <fcntl.h>
#include <gtest/gtest.h>
#include <tavlib/registry/registry_handle.h>
#include <unistd.h>

#include <memory>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

struct CloseRoot {
  void operator()(ARegistryKey* key) const { ARegKeyFileClose(key); }
};

class Handle : public RegistryTest {
 protected:
  Handle() { write("r=1\n[A]\na=\"1\"\n[A\\B]\nb=\"2\"\n[C]\nc=\"3\"\n"); }

  std::unique_ptr<ARegistryKey, CloseRoot> root{ARegKeyFile(path.c_str())};
  ARegistry handle;
};

int free_descriptor() {
  const int fd = dup(0);
  close(fd);
  return fd;
}

TEST_F(Handle, StartsClosed) {
  EXPECT_EQ(handle.GetKey(), nullptr);
  EXPECT_EQ(handle.Close(), 1);
}

TEST_F(Handle, NumbersThePredefinedRoots) {
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(REGISTRY_ROOT_USER), 1U);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(REGISTRY_ROOT_SUPERUSER), 2U);
}

TEST_F(Handle, OpensAKeyBelowAFile) {
  ASSERT_EQ(handle.Open(root.get(), "A\\B", 0, nullptr, 1), 1);
  ASSERT_NE(handle.GetKey(), nullptr);
  EXPECT_NE(handle.GetKey(), root.get());
  EXPECT_EQ(value_names(*handle.GetKey()), (Names{"b"}));
}

TEST_F(Handle, OpensAKeyBelowAnOpenKey) {
  ARegistry base;
  ASSERT_EQ(base.Open(root.get(), "A", 0, nullptr, 1), 1);
  ASSERT_EQ(handle.Open(base.GetKey(), "B", 0, nullptr, 1), 1);
  EXPECT_EQ(value_names(*handle.GetKey()), (Names{"b"}));
  EXPECT_EQ(value_names(*base.GetKey()), (Names{"a"}));
}

TEST_F(Handle, OpensAKeyBelowItsOwn) {
  ASSERT_EQ(handle.Open(root.get(), "A", 0, nullptr, 1), 1);
  ASSERT_EQ(handle.Open(handle.GetKey(), "B", 0, nullptr, 1), 1);
  EXPECT_EQ(value_names(*handle.GetKey()), (Names{"b"}));
}

TEST_F(Handle, OpensTheTopOfTheFileForAnEmptyPath) {
  ASSERT_EQ(handle.Open(root.get(), "A", 0, nullptr, 1), 1);
  for (const char* top : {"", "\\", "\\\\"}) {
    ASSERT_EQ(handle.Open(handle.GetKey(), top, 0, nullptr, 1), 1);
    EXPECT_EQ(value_names(*handle.GetKey()), (Names{"r"}));
  }
}

TEST_F(Handle, TellsWhetherItCreatedTheKey) {
  unsigned disposition = 7;
  ASSERT_EQ(handle.Open(root.get(), "New\\Key", 1, &disposition, 3), 1);
  EXPECT_EQ(disposition, 0U);
  EXPECT_TRUE(content().ends_with("c=\"3\"\n[New\\Key\\]\n"));
  ASSERT_EQ(handle.Open(root.get(), "New\\Key", 1, &disposition, 3), 1);
  EXPECT_EQ(disposition, 1U);
  ASSERT_EQ(handle.Open(root.get(), "New", 1, &disposition, 3), 1);
  EXPECT_EQ(disposition, 1U);
  EXPECT_TRUE(content().ends_with("[New\\Key\\]\n[New\\]\n"));
  ASSERT_EQ(handle.Open(root.get(), "A", 0, &disposition, 1), 1);
  EXPECT_EQ(disposition, 1U);
}

TEST_F(Handle, LeavesTheDispositionAloneWhenItFails) {
  unsigned disposition = 7;
  EXPECT_TRUE(fails_with(13, [&] { return handle.Open(root.get(), "None", 1, &disposition, 1); }));
  EXPECT_EQ(disposition, 7U);
}

TEST_F(Handle, IsClosedAfterAFailedOpen) {
  EXPECT_TRUE(fails_with(2, [&] { return handle.Open(root.get(), "None", 0, nullptr, 3); }));
  EXPECT_EQ(handle.GetKey(), nullptr);
}

TEST_F(Handle, ReleasesTheEarlierKeyAlsoWhenTheNewOpenFails) {
  const int free_before = free_descriptor();
  ASSERT_EQ(handle.Open(root.get(), "A", 0, nullptr, 1), 1);
  EXPECT_NE(free_descriptor(), free_before);
  EXPECT_TRUE(fails_with(2, [&] { return handle.Open(root.get(), "None", 0, nullptr, 1); }));
  EXPECT_EQ(handle.GetKey(), nullptr);
  EXPECT_EQ(free_descriptor(), free_before);
}

TEST_F(Handle, ReleasesTheEarlierKeyBeforeItLoadsTheNewOne) {
  const int free_before = free_descriptor();
  ASSERT_EQ(handle.Open(root.get(), "A", 0, nullptr, 1), 1);
  int free_then = -1;
  const CallHook hook(Call::open_stream, 1, [&] {
    free_then = free_descriptor();
    return 0;
  });
  ASSERT_EQ(handle.Open(root.get(), "C", 0, nullptr, 1), 1);
  EXPECT_EQ(free_then, free_before + 1);  // Only the new file is open.
}

TEST_F(Handle, GivesItsDescriptorBackWhenThereIsNoStreamForIt) {
  const int free_before = free_descriptor();
  const CallFails fails(Call::open_stream, 1, ENOMEM);
  EXPECT_TRUE(fails_with(12, [&] { return handle.Open(root.get(), "A", 0, nullptr, 1); }));
  EXPECT_TRUE(fails.fired());
  EXPECT_EQ(free_descriptor(), free_before);
}

TEST_F(Handle, GivesTheTemporaryFilesDescriptorBackWhenThereIsNoStreamForIt) {
  ASSERT_EQ(handle.Open(root.get(), "A", 0, nullptr, 2), 1);
  const int free_before = free_descriptor();
  const CallFails fails(Call::open_stream, 1, ENOMEM);
  EXPECT_TRUE(fails_with(12, [&] { return handle.DeleteValue("a"); }));
  EXPECT_TRUE(fails.fired());
  EXPECT_EQ(free_descriptor(), free_before);
}

TEST_F(Handle, ReleasesItsKeyWhenClosedAndAtItsEnd) {
  const int free_before = free_descriptor();
  {
    ARegistry other;
    ASSERT_EQ(other.Open(root.get(), "A", 0, nullptr, 1), 1);
    EXPECT_EQ(other.Close(), 1);
    EXPECT_EQ(other.GetKey(), nullptr);
    EXPECT_EQ(free_descriptor(), free_before);
    ASSERT_EQ(other.Open(root.get(), "A", 0, nullptr, 1), 1);
  }
  EXPECT_EQ(free_descriptor(), free_before);
}

TEST_F(Handle, HasABadAddressForNullPointers) {
  EXPECT_TRUE(fails_with(14, [&] { return handle.Open(nullptr, "A", 0, nullptr, 1); }));
  EXPECT_TRUE(fails_with(14, [&] { return handle.Open(root.get(), nullptr, 0, nullptr, 1); }));
  EXPECT_EQ(handle.GetKey(), nullptr);
}

TEST_F(Handle, ReadsAndChangesItsKey) {
  ASSERT_EQ(handle.Open(root.get(), "A", 0, nullptr, 3), 1);
  char name[8];
  unsigned size = sizeof name;
  ASSERT_EQ(handle.EnumKey(0, name, &size), 1);
  EXPECT_STREQ(name, "B");
  ASSERT_EQ(handle.EnumValue(0, name, &size), 1);
  EXPECT_STREQ(name, "a");
  unsigned type = 0;
  unsigned char data[8];
  ASSERT_EQ(handle.QueryValue("a", &type, &size, data), 1);
  EXPECT_EQ(type, 1U);
  EXPECT_EQ(size, 2U);
  EXPECT_EQ(data[0], '1');
  ASSERT_EQ(handle.SetValue("n", REG_BINARY, 1, data), 1);
  EXPECT_TRUE(content().find("[A\\]\na=\"1\"\nn=$31\n") != std::string::npos);
  ASSERT_EQ(handle.DeleteValue("a"), 1);
  EXPECT_TRUE(content().find("[A\\]\nn=$31\n") != std::string::npos);
  ASSERT_EQ(handle.DeleteKey("B"), 1);
  size = sizeof name;
  EXPECT_TRUE(fails_with(2, [&] { return handle.EnumKey(0, name, &size); }));
}

TEST_F(Handle, DoesNotCrashWhenClosed) {
  unsigned size = 0;
  EXPECT_TRUE(fails_with(14, [&] { return handle.EnumKey(0, nullptr, &size); }));
  EXPECT_TRUE(fails_with(14, [&] { return handle.EnumValue(0, nullptr, &size); }));
  EXPECT_TRUE(fails_with(14, [&] { return handle.QueryValue("a", nullptr, &size, nullptr); }));
  EXPECT_TRUE(fails_with(14, [&] { return handle.SetValue("a", REG_SZ, 0, nullptr); }));
  EXPECT_TRUE(fails_with(14, [&] { return handle.DeleteValue("a"); }));
  EXPECT_TRUE(fails_with(14, [&] { return handle.DeleteKey("a"); }));
}

}  // namespace
}  // namespace tavtest

// A host that has no descriptor left, or only a few. UndefinedBehaviorSanitizer needs a descriptor for the
// first look at a type, so what is done without any is done once before.

#include <array>
#include <cerrno>
#include <filesystem>

#include "faults/hosts/descriptors.h"
#include "faults/hosts/host_test.h"

using namespace tavtest;

namespace {

class NoDescriptors : public HostTest {
 protected:
  // The machine-wide store is made once and kept open for the life of the process.
  NoDescriptors() {
    config.write_servers({server.configured(), second.configured(), third.configured()}, server.address());
    EXPECT_EQ(TAVInitialize(), 1);
    TAVExit();
  }

  AnsweringServer second{"127.0.0.2"};
  AnsweringServer third{"127.0.0.3"};
};

}  // namespace

// One for the servers' key, one for the server's own key while it is read, and one for each socket. With less
// the last server has no socket, or there is no server at all.
TEST_F(NoDescriptors, TheLibraryNeedsFiveForThreeServersOrDoesNotStart) {
  const std::set<int> before = open_descriptors();
  for (int spare = 0; spare < 5; ++spare) {
    SCOPED_TRACE(spare);
    const SpareDescriptors left(spare);
    EXPECT_EQ(error_of(TAVInitialize()), 3U);
    EXPECT_FALSE(library_is_up());
    EXPECT_EQ(TAVGetLastError(), 7U);
  }
  EXPECT_EQ(open_descriptors(), before);
  const SpareDescriptors left(5);
  EXPECT_EQ(TAVInitialize(), 1);
  for (const AnsweringServer* each : {&server, &second, &third})
    EXPECT_GE(TAVGetSocket(each->address_number()), 0);
}

// The key with the machine-wide port is open all the time.
TEST_F(NoDescriptors, TheLibraryNeedsOneMoreWithAMachineWidePort) {
  TestConfig::write_fallback_port(9);
  {
    const SpareDescriptors left(5);
    EXPECT_EQ(error_of(TAVInitialize()), 3U);
  }
  const SpareDescriptors left(6);
  EXPECT_EQ(TAVInitialize(), 1);
}

TEST_F(NoDescriptors, TheLibraryStartsOnceThereAreSomeAgain) {
  {
    const SpareDescriptors left(0);
    EXPECT_EQ(error_of(TAVInitialize()), 3U);
  }
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(version_of(address()), 0x00010002U);
}

TEST_F(NoDescriptors, ARunningLibraryNeedsNone) {
  time.on_wait([this](int, timeval) {
    for (AnsweringServer* each : {&server, &second, &third})
      each->answer_all();
  });
  ASSERT_NE(SSO_Init(), nullptr);
  const auto do_everything = [this] {
    EXPECT_EQ(TAVInitialize(), 1);
    EXPECT_EQ(version_of(address()), 0x00010002U);
    std::array<char, 32> user{};
    EXPECT_EQ(SSO_GetUserByAddr(somewhere, user.data(), 31, nullptr, 0), 1);
    EXPECT_EQ(user.data(), user_at(somewhere));
    const _TAVENTRYA entry{};
    EXPECT_EQ(TAVAddEntryA(&entry), 2);
    TAVExit();
  };
  do_everything();
  const SpareDescriptors left(0);
  do_everything();
  SSO_Exit();
  EXPECT_FALSE(library_is_up());
}

TEST_F(NoDescriptors, SingleSignOnCannotReadItsGatewayAndTheLibraryStaysUp) {
  ASSERT_EQ(TAVInitialize(), 1);
  {
    const SpareDescriptors left(0);
    EXPECT_EQ(SSO_Init(), nullptr);
    EXPECT_EQ(SSO_GetLastError(), 3U);
  }
  TAVExit();
  EXPECT_TRUE(library_is_up());
  TAVExit();
  EXPECT_FALSE(library_is_up());
}

namespace {

// A registry file with one value in one key.
class FullHostsRegistry : public testing::Test {
 protected:
  static constexpr const char* content = "[Key\\]\nname=\"old\"\n";

  void SetUp() override {
    write_file(path, content);
    EXPECT_EQ(open(), 1);
    EXPECT_EQ(set("old"), 1);
    handle.Close();
  }
  ~FullHostsRegistry() override { ARegKeyFileClose(root); }

  int set(const char* text) {
    return handle.SetValue("name", REG_SZ, 4, reinterpret_cast<const unsigned char*>(text));
  }
  int open() { return handle.Open(root, "Key", 0, nullptr, REGISTRY_ACCESS_WRITE); }

  TempFolder folder;
  const std::string path = folder.file("store");
  ARegistryKey* root = ARegKeyFile(path.c_str());
  ARegistry handle;
};

}  // namespace

TEST_F(FullHostsRegistry, AKeyCannotBeOpenedAndCanLater) {
  {
    const SpareDescriptors left(0);
    errno = 0;
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(GetOsError(), static_cast<unsigned>(EMFILE));
    EXPECT_EQ(handle.GetKey(), nullptr);
  }
  EXPECT_EQ(open(), 1);
}

TEST_F(FullHostsRegistry, AnOpenKeyIsReadWithoutAny) {
  ASSERT_EQ(open(), 1);
  const SpareDescriptors left(0);
  std::array<unsigned char, 8> text{};
  unsigned size = text.size();
  EXPECT_EQ(handle.QueryValue("name", nullptr, &size, text.data()), 1);
  EXPECT_STREQ(reinterpret_cast<const char*>(text.data()), "old");
}

TEST_F(FullHostsRegistry, AChangeFailsAndLeavesTheFileAsItWas) {
  ASSERT_EQ(open(), 1);
  {
    const SpareDescriptors left(0);
    errno = 0;
    EXPECT_EQ(set("new"), 0);
    EXPECT_EQ(GetOsError(), static_cast<unsigned>(EMFILE));
  }
  EXPECT_EQ(read_file(path), content);
  EXPECT_EQ(set("two"), 1);
  EXPECT_EQ(read_file(path), "[Key\\]\nname=\"two\"\n");
  EXPECT_FALSE(std::filesystem::exists(path + "~"));
}

TEST_F(FullHostsRegistry, AChangeNeedsOneDescriptor) {
  ASSERT_EQ(open(), 1);
  {
    const SpareDescriptors left(1);
    EXPECT_EQ(set("new"), 1);
  }
  EXPECT_EQ(read_file(path), "[Key\\]\nname=\"new\"\n");
}

TEST_F(FullHostsRegistry, AKeyOfAMissingFileCanBeUsedLater) {
  const std::string missing = folder.file("missing");
  ARegistryKey* late = nullptr;
  {
    const SpareDescriptors left(0);
    late = ARegKeyFile(missing.c_str());
  }
  ASSERT_NE(late, nullptr);
  EXPECT_EQ(handle.Open(late, "Key", 1, nullptr, REGISTRY_ACCESS_WRITE), 1);
  EXPECT_EQ(set("new"), 1);
  EXPECT_EQ(read_file(missing), "[Key\\]\nname=\"new\"\n");
  ARegKeyFileClose(late);
}

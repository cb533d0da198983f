#include <gtest/gtest.h>
#include <tavlib/registry/registry.h>

#include <functional>
#include <memory>
#include <new>
#include <string>

#include "faults/heap/reason_of.h"
#include "support/temp_folder.h"

namespace tavtest {
namespace {

constexpr unsigned reading = 1;
constexpr unsigned writing = 3;

class RegistryErrors : public testing::Test {
 protected:
  RegistryErrors() { write_file(path, "[A]\nlong=\"" + text + "\"\n[A\\B]\n[A\\B\\C]\n"); }

  struct CloseKeyFile {
    void operator()(ARegistryKey* key) const { ARegKeyFileClose(key); }
  };
  using Root = std::unique_ptr<ARegistryKey, CloseKeyFile>;

  unsigned reason_of_opening(const char* key, int create, unsigned access) {
    return reason_of([&] { return handle.Open(root.get(), key, create, nullptr, access); });
  }

  /// Opens the key A to change it.
  void open() { ASSERT_EQ(handle.Open(root.get(), "A", 0, nullptr, writing), 1); }

  const std::string text = std::string(100, 'x');
  TempFolder folder;
  const std::string path = folder.file("registry");
  const Root root{ARegKeyFile(path.c_str())};
  ARegistry handle;
};

TEST_F(RegistryErrors, OfAMissingKey) {
  EXPECT_EQ(reason_of_opening("None", 0, reading), 2U);
  EXPECT_EQ(reason_of_opening("None", 0, writing), 2U);
  EXPECT_EQ(reason_of_opening(("A\\" + text).c_str(), 0, writing), 2U);
}

TEST_F(RegistryErrors, OfAMissingKeyOnAnOpenHandle) {
  open();
  EXPECT_EQ(reason_of_opening("None", 0, reading), 2U);
}

TEST_F(RegistryErrors, OfCreatingWithoutWriteAccess) {
  EXPECT_EQ(reason_of_opening("None", 1, reading), 13U);
}

TEST_F(RegistryErrors, OfOpeningWithoutAPathOrARoot) {
  EXPECT_EQ(reason_of_opening(nullptr, 0, reading), 14U);
  open();
  EXPECT_EQ(reason_of([&] { return handle.Open(nullptr, "A", 0, nullptr, reading); }), 14U);
}

TEST_F(RegistryErrors, OfAFileThatIsAFolder) {
  const Root nowhere(ARegKeyFile(folder.path().c_str()));
  for (const unsigned access : {reading, writing}) {
    EXPECT_EQ(reason_of([&] { return handle.Open(nowhere.get(), "A", 0, nullptr, access); }), 21U);
  }
}

// With a name that takes memory of its own.
TEST_F(RegistryErrors, OfAKeyWithoutAHandle) {
  ARegistryKey key(*root);
  EXPECT_EQ(reason_of([&] { return key.LoadKey(text.c_str(), 0, reading, nullptr); }), 2U);
  EXPECT_EQ(reason_of([&] { return key.LoadKey(text.c_str(), 1, reading, nullptr); }), 13U);
}

TEST_F(RegistryErrors, OutlastTheHandle) {
  EXPECT_EQ(reason_of([&] {
              ARegistry gone;
              return gone.Open(root.get(), "A", 0, nullptr, writing) == 1 ? gone.DeleteKey("None") : 1;
            }),
            2U);
}

TEST_F(RegistryErrors, OfDeletingAKey) {
  open();
  EXPECT_EQ(reason_of([&] { return handle.DeleteKey("None"); }), 2U);
  EXPECT_EQ(reason_of([&] { return handle.DeleteKey("B"); }), 13U);
}

TEST_F(RegistryErrors, OfAChangeThatCannotBeWritten) {
  open();
  std::filesystem::create_directory(path + "~");
  EXPECT_EQ(reason_of([&] { return handle.DeleteKey("B\\C"); }), 21U);
}

TEST_F(RegistryErrors, OfATextForWhichThereIsNoMemory) {
  Registry registry(root.get());
  ASSERT_EQ(registry.Open("A", reading), 1);
  std::string value;
  const CallFaults faults({{2, 0}});  // the first block is the one into which the value is read
  EXPECT_EQ(reason_of([&] { return registry.QueryValue("long", value); }), 12U);
  EXPECT_EQ(faults.all_hits().size(), 1U);
  EXPECT_EQ(value, "");
}

// Each allocation fails in turn. A key that opened all the same has all of its values: the next change would
// drop the others from the file.
TEST_F(RegistryErrors, OfAKeyForWhichThereIsNoMemory) {
  unsigned exceptions = 0;
  bool struck = true;
  for (std::size_t number = 1; struck; ++number) {
    const CallFaults faults({{number, 0}});
    const LibrarySection section;
    const SpoiledErrno heap;
    try {
      unsigned size = 0;
      if (handle.Open(root.get(), "A", 0, nullptr, reading) == 1) {
        EXPECT_EQ(handle.QueryValue("long", nullptr, &size, nullptr), 1);
      }
    } catch (const ARegistryException& exception) {
      EXPECT_EQ(GetRtlError(), 12U);
      EXPECT_EQ(exception.code, 12U);
      ++exceptions;
    } catch (const std::bad_alloc&) {
    }
    struck = !faults.all_hits().empty();
  }
  EXPECT_GE(exceptions, 3U);  // the list of what lies below, a name in it, and the list of values
}

}  // namespace
}  // namespace tavtest

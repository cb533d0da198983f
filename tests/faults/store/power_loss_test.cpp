// The power fails at any moment of a change. What the change does to the disk is recorded, and for each part
// of it everything that the disk may then hold is read: the store is always as it was before the change or as
// it is after it, and once the call has returned it is as it is after it.

#include <gtest/gtest.h>

#include "faults/store/disk_model.h"
#include "faults/store/store_changes.h"
#include "faults/store/store_text.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class PowerLoss : public testing::TestWithParam<StoreChange> {
 protected:
  DiskModel disk_before() const {
    std::map<std::string, std::string> files;
    if (GetParam().file_exists) files["registry"] = GetParam().before;
    return DiskModel(files);
  }

  /// Makes the change and gives what it did to the disk.
  std::vector<DiskEvent> recorded() const {
    prepare(GetParam(), path);
    const DiskRecorder recorder(folder.path().string());
    EXPECT_EQ(GetParam().make(path), 1);
    return recorder.events();
  }

  const TempFolder folder;
  const std::string path = folder.file("registry");
};

TEST_P(PowerLoss, LeavesTheStoreBeforeOrAfterTheChange) {
  const StoreText earlier = read_store(GetParam().before);
  const StoreText later = read_store(GetParam().after);
  ASSERT_NE(earlier, later);
  DiskModel disk = disk_before();
  std::size_t number = 0;
  for (const DiskEvent& event : recorded()) {
    disk.apply(event);
    ++number;
    for (const DiskModel::Content& content : disk.after_power_loss("registry")) {
      EXPECT_TRUE(content || !GetParam().file_exists) << "the file is gone after event " << number;
      const StoreText store = read_store(content.value_or(""));
      EXPECT_TRUE(store == earlier || store == later)
          << "after event " << number << ": " << testing::PrintToString(content);
    }
  }
}

TEST_P(PowerLoss, AfterTheCallLosesNothing) {
  DiskModel disk = disk_before();
  for (const DiskEvent& event : recorded())
    disk.apply(event);
  EXPECT_EQ(disk.after_power_loss("registry"), std::set<DiskModel::Content>{GetParam().after});
}

// If a call went unrecorded, what the model says of the disk would be worth nothing.
TEST_P(PowerLoss, IsReplayedFromEverythingThatTheChangeDid) {
  DiskModel disk = disk_before();
  for (const DiskEvent& event : recorded())
    disk.apply(event);
  EXPECT_EQ(disk.now("registry"), read_file(path));
  EXPECT_EQ(disk.now("registry~"), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(path + "~"));
}

// Several writes between two syncs may reach the disk in any order.
TEST(PowerLossWithinAHeader, FindsItsOpeningBracketOnTheDiskAfterAllBehindIt) {
  const TempFolder folder;
  const std::string path = folder.file("registry");
  write_file(path, "[A]\na=1\n");
  const DiskRecorder recorder(folder.path().string());
  ASSERT_EQ(TestKey(path).LoadKey("A]B", 1, 3, nullptr), 1);
  std::vector<std::string> done;
  for (const DiskEvent& event : recorder.events()) {
    if (event.kind == DiskEvent::Kind::write) done.push_back(event.bytes);
    if (event.kind == DiskEvent::Kind::sync_file) done.emplace_back("sync");
  }
  EXPECT_EQ(done, (std::vector<std::string>{"A]B\\]", "sync", "[", "\n", "sync"}));
}

INSTANTIATE_TEST_SUITE_P(Of, PowerLoss, testing::ValuesIn(store_changes()), case_name<StoreChange>);

}  // namespace
}  // namespace tavtest

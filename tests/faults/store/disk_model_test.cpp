// The model of a disk tells good from bad orders of writing.

#include "faults/store/disk_model.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tavtest {
namespace {

using Kind = DiskEvent::Kind;
using testing::Contains;
using testing::ElementsAre;
using Content = DiskModel::Content;

const DiskEvent kCreate{.kind = Kind::create, .name = "f~"};
const DiskEvent kWrite{.kind = Kind::write, .name = "f~", .bytes = "new"};
const DiskEvent kSync{.kind = Kind::sync_file, .name = "f~"};
const DiskEvent kRename{.kind = Kind::rename, .name = "f~", .new_name = "f"};
const DiskEvent kSyncFolder{.kind = Kind::sync_folder};

std::set<Content> after(const std::vector<DiskEvent>& events) {
  DiskModel disk(std::map<std::string, std::string>{{"f", "old"}});
  for (const DiskEvent& event : events)
    disk.apply(event);
  return disk.after_power_loss("f");
}

TEST(DiskModelTest, KeepsTheOldFileUntilTheRename) {
  EXPECT_THAT(after({kCreate, kWrite, kSync}), ElementsAre("old"));
}

TEST(DiskModelTest, MayLoseARenameUntilTheFolderIsSynced) {
  EXPECT_THAT(after({kCreate, kWrite, kSync, kRename}), ElementsAre("new", "old"));
  EXPECT_THAT(after({kCreate, kWrite, kSync, kRename, kSyncFolder}), ElementsAre("new"));
}

TEST(DiskModelTest, MayLoseWhatWasRenamedUnsynced) {
  const auto contents = after({kCreate, kWrite, kRename, kSyncFolder});
  EXPECT_THAT(contents, ElementsAre("", std::string(3, '\0'), "n", "ne", "new"));
}

TEST(DiskModelTest, MayLoseTheSecondOfTwoWrites) {
  const DiskEvent more{.kind = Kind::write, .name = "f", .position = 3, .bytes = "er"};
  EXPECT_THAT(after({more}), ElementsAre("old", std::string("old\0\0", 5), "olde", "older"));
  EXPECT_THAT(after({more, {.kind = Kind::sync_file, .name = "f"}}), ElementsAre("older"));
}

TEST(DiskModelTest, MayKeepATruncatedFile) {
  const DiskEvent truncate{.kind = Kind::truncate, .name = "f"};
  EXPECT_THAT(after({truncate}), ElementsAre("", "old"));
}

TEST(DiskModelTest, MayKeepARemovedFile) {
  const DiskEvent unlink{.kind = Kind::unlink, .name = "f"};
  EXPECT_THAT(after({unlink}), ElementsAre(Content(), "old"));
  EXPECT_THAT(after({unlink, kSyncFolder}), ElementsAre(Content()));
}

}  // namespace
}  // namespace tavtest

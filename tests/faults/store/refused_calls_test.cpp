// Calls of the system that fail in the middle of a change: a disk that is full or faulty.

#include <gtest/gtest.h>

#include <cerrno>

#include "faults/store/file_calls.h"
#include "faults/store/open_descriptors.h"
#include "faults/store/store_changes.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

/// A disk with room for some bytes. The write that passes them is shortened; further ones fail.
class FullDisk : public FileCallWatcher {
 public:
  explicit FullDisk(std::size_t room) : room_(room) {}

  int before(FileCall& call) override {
    if (call.name != "write") return 0;
    call.bytes = call.bytes.substr(0, room_);
    room_ -= call.bytes.size();
    return call.bytes.empty() ? ENOSPC : 0;
  }

 private:
  std::size_t room_;
};

/// Makes the call with this number, counted from 1, fail.
class FailsAt : public FileCallWatcher {
 public:
  FailsAt(int number, int code) : number_(number), code_(code) {}

  int before(FileCall& call) override {
    if (++calls_ == number_) name_ = call.name;
    if (calls_ < number_ && call.name == "rename") replaced_ = true;
    return calls_ == number_ ? code_ : 0;
  }

  bool happened() const { return calls_ >= number_; }
  /// Whether the new file had taken the place of the old one by then, and could not be opened.
  bool lost_the_new_file() const { return replaced_ && name_ == "open"; }

 private:
  const int number_;
  const int code_;
  int calls_{0};
  std::string name_;
  bool replaced_{false};
};

class RefusedCalls : public testing::TestWithParam<StoreChange> {
 protected:
  /// The error that the change failed with; 0 for none.
  int error_of_change() const {
    errno = 0;
    return GetParam().make(path) == 1 ? 0 : errno;
  }

  void expect_enospc_with_room_for(std::size_t bytes) const {
    const OpenDescriptors closed;
    prepare(GetParam(), path);
    {
      const FullDisk disk(bytes);
      EXPECT_EQ(error_of_change(), ENOSPC) << "room for " << bytes << " bytes";
    }
    EXPECT_EQ(text_of(path), GetParam().before);
    EXPECT_FALSE(std::filesystem::exists(path + "~"));
    EXPECT_TRUE(next_writer_works(path));
  }

  /// Lets one call fail. False when the change took fewer calls than that.
  bool fail_call(int number, int code) const {
    const OpenDescriptors closed;
    prepare(GetParam(), path);
    int error = 0;
    bool lost_the_new_file = false;
    {
      const FailsAt refused(number, code);
      error = error_of_change();
      if (!refused.happened()) return false;
      lost_the_new_file = refused.lost_the_new_file();
    }
    EXPECT_TRUE(error == 0 || error == code) << "call " << number << ": error " << error;
    const bool done = error == 0 || lost_the_new_file;
    EXPECT_EQ(text_of(path), done ? GetParam().after : GetParam().before) << "call " << number;
    EXPECT_TRUE(next_writer_works(path)) << "call " << number;
    return true;
  }

  void fail_each_call(int code) const {
    int number = 1;
    while (fail_call(number, code))
      ++number;
    EXPECT_GT(number, 10);
    EXPECT_EQ(text_of(path), GetParam().after);
  }

  const TempFolder folder;
  const std::string path = folder.file("registry");
  const PretendedSyncs pretended;
};

TEST_P(RefusedCalls, AFullDiskLeavesTheFileAsItWas) {
  const std::size_t needed = GetParam().written();
  for (std::size_t room = 0; room < needed; room += 1 + needed / 24)
    expect_enospc_with_room_for(room);
  expect_enospc_with_room_for(needed - 1);
  prepare(GetParam(), path);
  const FullDisk disk(needed);
  EXPECT_EQ(error_of_change(), 0);
  EXPECT_EQ(text_of(path), GetParam().after);
}

TEST_P(RefusedCalls, AFaultyDiskLeavesTheFileBeforeOrAfterTheChange) {
  fail_each_call(EIO);
}

TEST_P(RefusedCalls, ASignalLeavesTheFileBeforeOrAfterTheChange) {
  fail_each_call(EINTR);
}

INSTANTIATE_TEST_SUITE_P(Of, RefusedCalls, testing::ValuesIn(store_changes()), case_name<StoreChange>);

}  // namespace
}  // namespace tavtest

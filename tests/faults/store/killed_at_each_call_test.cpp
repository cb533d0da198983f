// A writer is killed before each of its calls of the system in turn, and in the middle of each write.

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>

#include "faults/store/file_calls.h"
#include "faults/store/process.h"
#include "faults/store/store_changes.h"
#include "faults/store/store_text.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

enum class When { before_the_call, within_a_write };

/// Kills its process before the call with this number, counted from 1, or within the write with this number.
class KillAt : public FileCallWatcher {
 public:
  KillAt(int number, When when) : number_(number), when_(when) {}

  int before(FileCall& call) override {
    const bool counts = when_ == When::before_the_call || call.name == "write";
    if (!counts || ++calls_ != number_) return 0;
    if (when_ == When::within_a_write) write_half(call);
    ::kill(getpid(), SIGKILL);
    return 0;
  }

 private:
  static void write_half(const FileCall& call) {
    const std::size_t half = call.bytes.size() / 2;
    const ssize_t written = call.position == -1 ? ::write(call.fd, call.bytes.data(), half)
                                                : ::pwrite(call.fd, call.bytes.data(), half, call.position);
    if (written != static_cast<ssize_t>(half)) _exit(253);
  }

  const int number_;
  const When when_;
  int calls_{0};
};

class KilledWriter : public testing::TestWithParam<StoreChange> {
 protected:
  /// Kills a writer at one call. False when the change took fewer calls than that.
  bool kill_at(int call, When when) const {
    prepare(GetParam(), path);
    Process writer([&] {
      const PretendedSyncs pretended;
      const KillAt kill(call, when);
      return GetParam().make(path) == 1 ? 0 : 1;
    });
    const Ending ending = writer.ending();
    EXPECT_TRUE(ending == kEndedWell || ending == Ending{.signal = SIGKILL}) << ending;
    return ending == Ending{.signal = SIGKILL};
  }

  /// Whether the file is the expected one; where a line may be unfinished, whether the stores are the same.
  static bool means(const std::string& text, const std::string& expected) {
    return GetParam().in_steps ? read_store(text) == read_store(expected) : text == expected;
  }

  void expect_only_the_registry_and_its_temporary_file() const {
    for (const auto& file : std::filesystem::directory_iterator(folder.path()))
      EXPECT_TRUE(file.path() == path || file.path() == path + "~") << file.path();
  }

  const TempFolder folder;
  const std::string path = folder.file("registry");
};

TEST_P(KilledWriter, LeavesTheFileBeforeOrAfterTheChange) {
  int kills = 0;
  int after = 0;
  while (kill_at(kills + 1, When::before_the_call)) {
    ++kills;
    const std::string text = text_of(path);
    const bool changed = means(text, GetParam().after);
    EXPECT_TRUE(changed || means(text, GetParam().before)) << "killed at call " << kills << ": " << text;
    after += changed ? 1 : 0;
    expect_only_the_registry_and_its_temporary_file();
    EXPECT_TRUE(next_writer_works(path)) << "killed at call " << kills;
  }
  EXPECT_EQ(text_of(path), GetParam().after);
  EXPECT_GT(kills, 10);
  EXPECT_GT(after, 1);
  EXPECT_GT(kills - after, 5);
}

TEST_P(KilledWriter, WithinAWriteLeavesTheStoreBeforeOrAfterTheChange) {
  const StoreText earlier = read_store(GetParam().before);
  const StoreText later = read_store(GetParam().after);
  int kills = 0;
  while (kill_at(kills + 1, When::within_a_write)) {
    ++kills;
    const StoreText store = read_store(text_of(path));
    EXPECT_TRUE(store == earlier || store == later) << "killed in write " << kills << ": " << text_of(path);
    EXPECT_TRUE(next_writer_works(path)) << "killed in write " << kills;
  }
  EXPECT_GT(kills, 0);
}

INSTANTIATE_TEST_SUITE_P(Of, KilledWriter, testing::ValuesIn(store_changes()), case_name<StoreChange>);

/// What a killed writer may leave behind, and what somebody else might.
class LeftoverTemporaryFile : public RegistryTest {
 protected:
  void expect_no_harm() const {
    write("[A]\na=1\n");
    EXPECT_TRUE(next_writer_works(path));
    EXPECT_EQ(content(), "[A\\]\na=1\n[Next\\]\nv=\"next\"\n");
  }

  const std::string temporary = path + "~";
};

TEST_F(LeftoverTemporaryFile, ThatIsLargerDoesNoHarm) {
  write_file(temporary, "[Stale\\]\n" + std::string(100000, 's'));
  expect_no_harm();
}

TEST_F(LeftoverTemporaryFile, ThatIsEmptyDoesNoHarm) {
  write_file(temporary, "");
  expect_no_harm();
}

TEST_F(LeftoverTemporaryFile, IsNeverReadAsTheStore) {
  write_file(temporary, "[Stale\\]\nv=1\n");
  write("[A]\n");
  EXPECT_TRUE(fails_with(2, [&] { return TestKey(path).LoadKey("Stale", 0, 0, nullptr); }));
}

TEST_F(LeftoverTemporaryFile, DoesNoHarmWhenTheNextCommitFailsToo) {
  write_file(temporary, "[Stale\\]\n");
  write("[A]\na=1\n");
  for (int i = 0; i < 3; ++i) {
    Process killed([&] {
      TestKey key(path);
      if (key.LoadKey("A", 0, 2, nullptr) == 0) return 1;
      const PretendedSyncs pretended;
      const KillAt kill(5 + i, When::before_the_call);
      return set_text(key, "v", "x");
    });
    EXPECT_EQ(killed.ending(), (Ending{.signal = SIGKILL}));
    EXPECT_EQ(content(), "[A]\na=1\n");
  }
  expect_no_harm();
}

}  // namespace
}  // namespace tavtest

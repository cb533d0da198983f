// A change that cannot be written leaves the file as it was.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

const std::string before = "[B] text\nb=1\n[A]\na=1\n";
const std::string after = "[B\\]\nb=1\n[A\\]\na=1\nv=\"x\"\n";

class LostCommit : public RegistryTest {
 protected:
  LostCommit() : key((write(before), path)) {
    if (key.LoadKey("A", 0, 2, nullptr) == 0) throw std::runtime_error("the key cannot be loaded");
  }

  void expect_file_as_it_was() const {
    EXPECT_EQ(content(), before);
    EXPECT_FALSE(temporary_exists());
    EXPECT_TRUE(others_can_lock(path, F_WRLCK));
  }

  void expect_next_change_to_succeed() {
    EXPECT_EQ(set_text(key, "v", "x"), 1);
    EXPECT_EQ(content(), after);
  }

  TestKey key;
};

struct Failure {
  const char* name;
  Call call;
  int nth;
  int code;

  friend void PrintTo(const Failure& tested, std::ostream* out) { *out << tested.name; }
};

class FailedCall : public LostCommit, public testing::WithParamInterface<Failure> {};

TEST_P(FailedCall, FailsWithItsErrorAndLeavesTheFileAsItWas) {
  {
    const CallFails fails(GetParam().call, GetParam().nth, GetParam().code);
    EXPECT_TRUE(fails_with(static_cast<unsigned>(GetParam().code), [&] { return set_text(key, "v", "x"); }));
    EXPECT_TRUE(fails.fired());
  }
  expect_file_as_it_was();
  expect_next_change_to_succeed();
}

INSTANTIATE_TEST_SUITE_P(
    Of, FailedCall,
    testing::Values(Failure{"Lock", Call::lock, 1, ENOLCK}, Failure{"LeftOver", Call::remove, 1, EACCES},
                    Failure{"TemporaryFile", Call::open_file, 1, EACCES},
                    Failure{"TemporaryStream", Call::open_stream, 1, ENOMEM},
                    Failure{"FirstRead", Call::read, 1, EIO}, Failure{"SecondRead", Call::read, 2, EIO},
                    Failure{"ReadOfNothing", Call::read_nothing, 1, EIO}, Failure{"Sync", Call::sync, 1, EIO},
                    Failure{"Close", Call::close_stream, 1, ENOSPC},
                    Failure{"Rename", Call::rename, 1, EACCES}),
    case_name<Failure>);

TEST_F(LostCommit, FailsWhenAFolderHasTheTemporaryFilesName) {
  std::filesystem::create_directory(path + "~");
  EXPECT_TRUE(fails_with(EISDIR, [&] { return set_text(key, "v", "x"); }));
  EXPECT_EQ(content(), before);
  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
  std::filesystem::remove(path + "~");
  expect_next_change_to_succeed();
}

/// The change as a process makes it that may write files of `limit` bytes only; the error that it ends with.
int error_with_file_limit(TestKey& key, rlim_t limit, const std::string& text) {
  return in_other_process([&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit file_size{limit, limit};
    if (setrlimit(RLIMIT_FSIZE, &file_size) != 0) return 255;
    return set_text(key, "v", text) == 0 ? static_cast<int>(AErrors::GetRtlError()) : 0;
  });
}

TEST_F(LostCommit, FailsWhenTheTemporaryFileIsShort) {
  for (const rlim_t limit : {rlim_t{0}, rlim_t{1}, rlim_t{after.size() - 1}}) {
    EXPECT_EQ(error_with_file_limit(key, limit, "x"), EFBIG) << limit;
    expect_file_as_it_was();
  }
  EXPECT_EQ(error_with_file_limit(key, after.size(), "x"), 0);
  EXPECT_EQ(content(), after);
}

TEST_F(LostCommit, FailsWhenALargeTemporaryFileIsShort) {
  EXPECT_EQ(error_with_file_limit(key, 50000, std::string(100000, 'x')), EFBIG);
  expect_file_as_it_was();
}

TEST_F(LostCommit, FailsWhenOnlyTheFirstWritesFail) {
  const std::string large = "[A]\nv=\"" + std::string(20000, 'x') + "\"\n";
  write(large);
  const int error = in_other_process([&] {
    signal(SIGXFSZ, SIG_IGN);
    rlimit file_size{};
    getrlimit(RLIMIT_FSIZE, &file_size);
    const rlimit plenty = file_size;
    file_size.rlim_cur = 100;
    TestKey root(path);
    if (root.LoadKey("", 0, 2, nullptr) == 0 || setrlimit(RLIMIT_FSIZE, &file_size) != 0) return 255;
    // There is room again when the second part of the file is read.
    const CallHook hook(Call::read, 2, [&] { return setrlimit(RLIMIT_FSIZE, &plenty) == 0 ? 0 : EINVAL; });
    return root.Commit(nullptr) == 0 ? static_cast<int>(AErrors::GetRtlError()) : 0;
  });
  EXPECT_EQ(error, EFBIG);
  EXPECT_EQ(content(), large);
}

TEST_F(LostCommit, OfADeletionFailsAsWell) {
  {
    const CallFails fails(Call::rename, 1, EACCES);
    EXPECT_TRUE(fails_with(13, [&] { return key.DeleteValue("a"); }));
  }
  expect_file_as_it_was();
}

TEST_F(LostCommit, FailsWhenTheFileCannotBeReopenedAndTheNextChangeOpensIt) {
  {
    const CallFails fails(Call::open_stream, 2, EMFILE);
    EXPECT_TRUE(fails_with(EMFILE, [&] { return set_text(key, "v", "x"); }));
  }
  EXPECT_EQ(content(), after);
  EXPECT_EQ(key.file, nullptr);
  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
  EXPECT_EQ(find_value(key, "v"), (Value{REG_SZ, zeroed("x\0")}));
  EXPECT_EQ(value_names(key), (Names{"a", "v"}));
  EXPECT_EQ(key.DeleteValue("a"), 1);
  EXPECT_EQ(content(), "[B\\]\nb=1\n[A\\]\nv=\"x\"\n");
  EXPECT_NE(key.file, nullptr);
}

TEST_F(LostCommit, WithoutAStreamFailsWhenTheFileIsGone) {
  {
    const CallFails fails(Call::open_stream, 2, EMFILE);
    EXPECT_EQ(set_text(key, "v", "x"), 0);
  }
  std::filesystem::remove(path);
  EXPECT_TRUE(fails_with(2, [&] { return set_text(key, "v", "x"); }));
  EXPECT_TRUE(fails_with(2, [&] { return key.Commit(nullptr); }));
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(LostCommit, WithoutAStreamLoadsAgain) {
  {
    const CallFails fails(Call::open_stream, 2, EMFILE);
    EXPECT_EQ(set_text(key, "v", "x"), 0);
  }
  EXPECT_EQ(key.LoadKey("", 0, 2, nullptr), 1);
  EXPECT_EQ(child_names(key), (Names{"B", "A"}));
}

TEST_F(LostCommit, FailsWhenTheReplacedFileCannotBeOpened) {
  std::filesystem::remove(path);
  std::filesystem::create_directory(path);
  EXPECT_TRUE(fails_with(EISDIR, [&] { return set_text(key, "v", "x"); }));
}

TEST_F(LostCommit, WithoutWriteAccessFailsWhenTheFileCannotBeOpenedForWriting) {
  TestKey reader(path);
  ASSERT_EQ(reader.LoadKey("A", 0, 1, nullptr), 1);
  {
    const CallFails fails(Call::open_stream, 1, EMFILE);
    EXPECT_TRUE(fails_with(EMFILE, [&] { return reader.DeleteValue("a"); }));
  }
  EXPECT_EQ(content(), before);
  EXPECT_NE(reader.file, nullptr);
}

}  // namespace
}  // namespace tavtest

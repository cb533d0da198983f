// A process that may only write files up to a certain size. A write beyond it fails with EFBIG in a host that
// ignores SIGXFSZ, and ends any other host: the signal is the host's, the library leaves it alone.

#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <csignal>
#include <set>

#include "faults/store/file_calls.h"
#include "faults/store/open_descriptors.h"
#include "faults/store/process.h"
#include "faults/store/store_changes.h"
#include "faults/store/store_text.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

class FileSizeLimit {
 public:
  explicit FileSizeLimit(rlim_t bytes) {
    getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit limited{bytes, before_.rlim_max};
    if (setrlimit(RLIMIT_FSIZE, &limited) != 0) throw std::runtime_error("setrlimit failed");
  }
  ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &before_); }

  FileSizeLimit(const FileSizeLimit&) = delete;
  FileSizeLimit& operator=(const FileSizeLimit&) = delete;

 private:
  rlimit before_{};
};

class IgnoredSignal {
 public:
  explicit IgnoredSignal(int number) : number_(number), before_(std::signal(number, SIG_IGN)) {}
  ~IgnoredSignal() { std::signal(number_, before_); }

  IgnoredSignal(const IgnoredSignal&) = delete;
  IgnoredSignal& operator=(const IgnoredSignal&) = delete;

  bool still_ignored() const {
    struct sigaction now {};
    sigaction(number_, nullptr, &now);
    return now.sa_handler == SIG_IGN;
  }

 private:
  const int number_;
  void (*const before_)(int);
};

class LimitedFileSize : public testing::TestWithParam<StoreChange> {
 protected:
  /// Sizes from 0 up to one byte less than the change needs: some `steps` of them and those about each page.
  static std::set<std::size_t> too_small(std::size_t steps) {
    const std::size_t needed = GetParam().after.size();
    std::set<std::size_t> sizes{needed - 1};
    for (std::size_t size = 0; size < needed; size += 1 + needed / steps)
      sizes.insert(size);
    for (std::size_t page = 4096; page + 1 < needed; page += 4096)
      sizes.insert({page - 1, page, page + 1});
    return sizes;
  }

  const TempFolder folder;
  const std::string path = folder.file("registry");
  const PretendedSyncs pretended;
};

TEST_P(LimitedFileSize, FailsAndLeavesTheFileAsItWas) {
  const IgnoredSignal ignored(SIGXFSZ);
  for (const std::size_t size : too_small(24)) {
    const OpenDescriptors closed;
    prepare(GetParam(), path);
    errno = 0;
    int result = 0;
    {
      const FileSizeLimit limit(size);
      result = GetParam().make(path);
    }
    EXPECT_EQ(errno, EFBIG) << size;
    EXPECT_EQ(result, 0) << size;
    EXPECT_EQ(text_of(path), GetParam().before) << size;
    EXPECT_FALSE(std::filesystem::exists(path + "~")) << size;
    EXPECT_TRUE(next_writer_works(path)) << size;
  }
  prepare(GetParam(), path);
  {
    const FileSizeLimit limit(GetParam().after.size());
    EXPECT_EQ(GetParam().make(path), 1);
  }
  EXPECT_EQ(text_of(path), GetParam().after);
  EXPECT_TRUE(ignored.still_ignored());
}

TEST_P(LimitedFileSize, ThatEndsTheProcessLeavesTheStoreAsItWas) {
  const StoreText earlier = read_store(GetParam().before);
  const StoreText later = read_store(GetParam().after);
  for (const std::size_t size : too_small(6)) {
    prepare(GetParam(), path);
    Process writer([&] {
      const rlimit no_core{0, 0};
      setrlimit(RLIMIT_CORE, &no_core);
      std::signal(SIGXFSZ, SIG_DFL);
      const FileSizeLimit limit(size);
      return GetParam().make(path);
    });
    EXPECT_EQ(writer.ending(), (Ending{.signal = SIGXFSZ})) << size;
    const StoreText store = read_store(text_of(path));
    // A header is a header without its newline, too.
    EXPECT_TRUE(store == earlier || (size == GetParam().after.size() - 1 && store == later))
        << size << ": " << text_of(path);
    EXPECT_TRUE(next_writer_works(path)) << size;
  }
}

INSTANTIATE_TEST_SUITE_P(Of, LimitedFileSize, testing::ValuesIn(store_changes()), case_name<StoreChange>);

}  // namespace
}  // namespace tavtest

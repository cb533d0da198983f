// Creating, changing and reading a registry file, while the calls to the system fail. Whatever fails, the
// file is byte for byte what it was before the step or what it is to be after it.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <tavlib/registry/registry.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "faults/torture/scenario.h"
#include "support/temp_folder.h"

namespace tavtest {
namespace {

const std::string before = "# kept\n[A]\nn=1\n[A\\B\\] gone\nt=\"x\"\n[C\\]\nb=$01";
const std::string created = before + "\n[A\\New\\]\n";
// A commit writes every header anew.
const std::string headers = "# kept\n[A\\]\nn=1\n[A\\B\\]\nt=\"x\"\n[C\\]\nb=$01\n[A\\New\\]\n";
const std::string texts = headers + "v=\"text\"\n";
const std::string numbers = texts + "w=42\n";
const std::string removed = headers + "w=42\n";
const std::string without_key = "# kept\n[A\\]\nn=1\n[A\\B\\]\nt=\"x\"\n[A\\New\\]\nw=42\n";

bool is_allocation(const CallFaults::Hit& hit) {
  return hit.size != 0;
}

Outcome failed_with(int error_number) {
  return "0/" + std::to_string(error_number);
}

// Letting go of a lock, closing what was read, clearing up after another failure and making a rename outlast
// a loss of power change nothing. A stream that cannot tell whether it is writable is opened again.
bool is_harmless(const CallFaults::Hit& hit) {
  if (hit.call == "stat") return !is_of_comparison(hit);
  if (hit.call == "fclose") return hit.made("fflush") == 0 || hit.made("rename") > 0;
  if (hit.call == "unlink") return hit.made("unlink") > 1;  // the first one makes way for the new file
  const std::set<std::string> harmless{"fcntl", "unlock",      "ftruncate",
                                       "close", "open folder", "fsync folder"};
  return is_overcome(hit) || harmless.count(hit.call) != 0;
}

// A read that comes up empty before the end counts as an I/O error.
Outcomes after_fault(const CallFaults::Hit& hit, const Outcome& regular) {
  if (is_allocation(hit)) return {"0/12", "bad_alloc"};
  if (is_harmless(hit)) return {regular};
  return {failed_with(hit.error_number == 0 ? EIO : hit.error_number)};
}

Rule store_rule(const Outcome& regular = "1") {
  return by_fault(regular, [regular](const CallFaults::Hit& hit) { return after_fault(hit, regular); });
}

bool struck(const Hits& hits, const std::string& call) {
  return std::any_of(hits.begin(), hits.end(), [&](const auto& hit) { return hit.call == call; });
}

// Whether the new file had taken the old one's place before the fault.
bool was_replaced(const Hits& hits) {
  const auto later = [](const auto& hit) { return hit.made("rename") > 0; };
  return !struck(hits, "rename") && std::any_of(hits.begin(), hits.end(), later);
}

// Whether anybody, this process included, holds a lock on the file.
bool is_locked(const std::string& path) {
  const int fd = open(path.c_str(), O_RDWR | O_CLOEXEC);
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  EXPECT_EQ(fcntl(fd, F_OFD_GETLK, &lock), 0);
  close(fd);
  return lock.l_type != F_UNLCK;
}

// In memory where the system offers that: thousands of renames take long on a disk.
std::unique_ptr<TempFolder> make_folder() {
  const char* found = std::getenv("TMPDIR");
  const std::optional<std::string> kept = found == nullptr ? std::nullopt : std::optional<std::string>(found);
  if (access("/dev/shm", W_OK | X_OK) == 0) setenv("TMPDIR", "/dev/shm", 1);
  auto folder = std::make_unique<TempFolder>();
  kept ? setenv("TMPDIR", kept->c_str(), 1) : unsetenv("TMPDIR");
  return folder;
}

class Store : public testing::Test, public Scenario {
 protected:
  void run(Steps& steps) override {
    write_file(path, before);
    steps.take("root", store_rule(), [this] { return make_root(); });
    if (root == nullptr) return;
    std::optional<ARegistry> key(std::in_place);
    change(steps, "create a key", {before, created},
           [&] { return key->Open(root, "A\\New", 1, nullptr, 3); });
    change(steps, "set a text", {created, texts},
           [&] { return key->SetValue("v", REG_SZ, 5, reinterpret_cast<const unsigned char*>("text")); });
    change(steps, "set a number", {texts, numbers}, [&] {
      const unsigned number = 42;
      return key->SetValue("w", REG_DWORD, 4, reinterpret_cast<const unsigned char*>(&number));
    });
    // The rest is each on a key of its own: a failed removal has taken the value from memory all the same.
    change(steps, "delete a value", {numbers, removed}, [this] {
      ARegistry opened;
      return opened.Open(root, "A\\New", 0, nullptr, 3) != 0 ? opened.DeleteValue("v") : 0;
    });
    change(steps, "delete a key", {removed, without_key}, [this] {
      ARegistry top;
      return top.Open(root, "", 0, nullptr, 3) != 0 ? top.DeleteKey("C") : 0;
    });
    steps.take("read", store_rule("42"), [this] { return read(); });
    steps.take("close", always("closed"), [&] {
      library([&] { key.reset(); });
      library([this] { ARegKeyFileClose(std::exchange(root, nullptr)); });
      return "closed";
    });
  }

 private:
  struct Contents {
    const std::string& before;
    const std::string& after;
  };

  Outcome make_root() {
    root = library([this] { return ARegKeyFile(path.c_str()); });
    return "1";
  }

  // Makes a change, and makes it again when it failed before the file was changed.
  template <typename Call>
  void change(Steps& steps, const std::string& name, Contents contents, Call call) {
    bool done = false;
    for (int attempt = 0; attempt < 3 && !done; ++attempt) {
      const Outcome outcome =
          steps.take(name, store_rule(), [&] { return library(call) != 0 ? "1" : failed_with(errno); });
      const Hits& hits = steps.hits();
      EXPECT_TRUE(!is_locked(path) || struck(hits, "unlock")) << name;
      EXPECT_TRUE(!std::filesystem::exists(path + "~") || struck(hits, "unlink")) << name;
      done = outcome == "1" || was_replaced(hits);
      const std::string content = read_file(path);
      if (struck(hits, "ftruncate") && content == contents.after) continue;  // a header that stayed
      ASSERT_EQ(content, done ? contents.after : contents.before) << name;
    }
    EXPECT_EQ(read_file(path), contents.after);
  }

  Outcome read() {
    unsigned number = 0;
    const int result = library([&] {
      Registry key(root);
      return key.Open("A\\New", 1) != 0 ? key.QueryValue("w", number) : 0;
    });
    return result != 0 ? std::to_string(number) : failed_with(errno);
  }

  const std::unique_ptr<TempFolder> folder = make_folder();
  const std::string path = folder->file("store");
  ARegistryKey* root = nullptr;
};

}  // namespace

TEST_F(Store, SurvivesEachFault) {
  expect_tally(fail_each_call(*this), 350,
               {"new", "malloc", "open", "fdopen", "lock", "pread", "pwrite", "fprintf", "fwrite", "fputc",
                "fflush", "fsync", "fclose", "rename"});
}

TEST_F(Store, SurvivesPairsOfFaults) {
  expect_tally(fail_pairs(*this, 250), 400, {"open", "pread", "fprintf", "fsync", "rename", "unlink"});
}

}  // namespace tavtest

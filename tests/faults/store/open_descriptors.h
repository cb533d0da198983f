#ifndef TAVLIB_TESTS_FAULTS_STORE_OPEN_DESCRIPTORS_H
#define TAVLIB_TESTS_FAULTS_STORE_OPEN_DESCRIPTORS_H

#include <unistd.h>

#include <filesystem>
#include <set>
#include <string>

namespace tavtest {

/// Closes at its end what was opened since. A key that makes its file leaves a descriptor open, as its
/// documentation says, and a test that does so again and again would run out of them.
class OpenDescriptors {
 public:
  OpenDescriptors() = default;
  ~OpenDescriptors() {
    for (const int fd : now()) {
      if (before_.count(fd) == 0) close(fd);
    }
  }

  OpenDescriptors(const OpenDescriptors&) = delete;
  OpenDescriptors& operator=(const OpenDescriptors&) = delete;

 private:
  // The listing's own descriptor is among them, and is closed by then.
  static std::set<int> now() {
    std::set<int> all;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd"))
      all.insert(std::stoi(entry.path().filename()));
    return all;
  }

  const std::set<int> before_ = now();
};

}  // namespace tavtest

#endif

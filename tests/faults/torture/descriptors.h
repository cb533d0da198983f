#ifndef TAVLIB_TESTS_FAULTS_TORTURE_DESCRIPTORS_H
#define TAVLIB_TESTS_FAULTS_TORTURE_DESCRIPTORS_H

#include <dirent.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <set>
#include <string>

namespace tavtest {

/// The descriptors that were open when the object was made.
class Descriptors {
 public:
  Descriptors() : open_(now()) {}

  /// What the descriptors opened since then refer to; empty when there is none.
  std::string opened_since() const {
    std::string names;
    for (const int fd : now()) {
      if (open_.count(fd) == 0) names += name_of(fd) + " ";
    }
    return names;
  }

 private:
  static std::set<int> now() {
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc/self/fd"), closedir);
    std::set<int> found;
    while (const dirent* entry = readdir(folder.get())) {
      const int fd = std::atoi(entry->d_name);
      if (entry->d_name[0] != '.' && fd != dirfd(folder.get())) found.insert(fd);
    }
    return found;
  }

  static std::string name_of(int fd) {
    std::array<char, 256> target{};
    const ssize_t length =
        readlink(("/proc/self/fd/" + std::to_string(fd)).c_str(), target.data(), target.size() - 1);
    return std::to_string(fd) + " " + (length > 0 ? target.data() : "?");
  }

  const std::set<int> open_;
};

}  // namespace tavtest

#endif

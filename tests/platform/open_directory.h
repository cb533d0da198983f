#ifndef TAVLIB_TESTS_PLATFORM_OPEN_DIRECTORY_H
#define TAVLIB_TESTS_PLATFORM_OPEN_DIRECTORY_H

#include <tavlib/platform/directory.h>

#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

namespace tavtest {

/// A directory listing that shows its fields.
class OpenDirectory : public ADirectory {
 public:
  using ADirectory::ADirectory;
  using ADirectory::handle;
  using ADirectory::path;
  using ADirectory::pattern;
};

/// Every name that the listing still gives, in its order.
inline std::vector<std::string> names(ADirectory& directory) {
  std::vector<std::string> result;
  char name[256];
  while (directory.GetNext(name) == 1)
    result.emplace_back(name);
  return result;
}

/// How many descriptors the process has open (and one more, for the look at them).
inline long open_descriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return std::distance(begin(all), end(all));
}

}  // namespace tavtest

#endif

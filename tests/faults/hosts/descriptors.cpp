#include "faults/hosts/descriptors.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <system_error>

namespace tavtest {
namespace {

int checked(int result, const char* what) {
  if (result == -1) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

struct Close {
  void operator()(DIR* folder) const { closedir(folder); }
};

}  // namespace

std::set<int> open_descriptors() {
  const std::unique_ptr<DIR, Close> folder(opendir("/proc/self/fd"));
  std::set<int> result;
  while (const dirent* entry = readdir(folder.get())) {
    if (entry->d_name[0] != '.') result.insert(std::atoi(entry->d_name));
  }
  result.erase(dirfd(folder.get()));
  return result;
}

std::set<int> opened_since(const std::set<int>& before) {
  const std::set<int> now = open_descriptors();
  std::set<int> result;
  std::set_difference(now.begin(), now.end(), before.begin(), before.end(),
                      std::inserter(result, result.end()));
  return result;
}

DescriptorLimit::DescriptorLimit() {
  checked(getrlimit(RLIMIT_NOFILE, &before_), "getrlimit");
}

DescriptorLimit::~DescriptorLimit() {
  setrlimit(RLIMIT_NOFILE, &before_);
}

bool DescriptorLimit::raise_to(rlim_t count) const {
  rlimit raised = before_;
  raised.rlim_cur = std::max(raised.rlim_cur, count);
  raised.rlim_max = std::max(raised.rlim_max, raised.rlim_cur);
  return setrlimit(RLIMIT_NOFILE, &raised) == 0;
}

// The hard limit stays, so that the old one can be had back.
void DescriptorLimit::lower_to(rlim_t count) const {
  rlimit lowered = before_;
  lowered.rlim_cur = count;
  checked(setrlimit(RLIMIT_NOFILE, &lowered), "setrlimit");
}

CrowdedHost::CrowdedHost(int end) {
  own_.push_back(checked(open("/dev/null", O_RDONLY | O_CLOEXEC), "open"));
  while (own_.back() < end - 1)
    own_.push_back(checked(fcntl(own_.front(), F_DUPFD_CLOEXEC, 0), "dup"));
}

CrowdedHost::~CrowdedHost() {
  for (const int descriptor : own_)
    close(descriptor);
}

// A new descriptor is the lowest that is free, so below the last of these none is free.
SpareDescriptors::SpareDescriptors(int count) {
  std::vector<int> free;
  for (int i = 0; i <= count; ++i)
    free.push_back(checked(open("/dev/null", O_RDONLY | O_CLOEXEC), "open"));
  limit_.lower_to(static_cast<rlim_t>(free.back()));
  for (const int descriptor : free)
    close(descriptor);
}

}  // namespace tavtest

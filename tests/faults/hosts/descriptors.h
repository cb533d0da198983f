#ifndef TAVLIB_TESTS_FAULTS_HOSTS_DESCRIPTORS_H
#define TAVLIB_TESTS_FAULTS_HOSTS_DESCRIPTORS_H

#include <sys/resource.h>

#include <set>
#include <vector>

namespace tavtest {

/// The descriptors that this process has open.
std::set<int> open_descriptors();

/// Those of `now` that are not in `before`.
std::set<int> opened_since(const std::set<int>& before);

/// Puts the process's limit of descriptors back at its end.
class DescriptorLimit {
 public:
  DescriptorLimit();
  ~DescriptorLimit();

  DescriptorLimit(const DescriptorLimit&) = delete;
  DescriptorLimit& operator=(const DescriptorLimit&) = delete;

  /// Allows descriptors below `count` at least. False when the system refuses.
  bool raise_to(rlim_t count) const;

  /// Allows no descriptors from `count` on.
  void lower_to(rlim_t count) const;

 private:
  rlimit before_{};
};

/// A host that has every descriptor below `end` in use.
class CrowdedHost {
 public:
  explicit CrowdedHost(int end);
  ~CrowdedHost();

  CrowdedHost(const CrowdedHost&) = delete;
  CrowdedHost& operator=(const CrowdedHost&) = delete;

 private:
  std::vector<int> own_;
};

/// Only `count` more descriptors can be had while it lives.
class SpareDescriptors {
 public:
  explicit SpareDescriptors(int count);

 private:
  DescriptorLimit limit_;
};

}  // namespace tavtest

#endif

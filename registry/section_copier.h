#ifndef TAVLIB_REGISTRY_SECTION_COPIER_H
#define TAVLIB_REGISTRY_SECTION_COPIER_H

#include "registry/line_reader.h"

#include <tavlib/registry/registry_data.h>

#include <cstdio>

namespace tavlib {

/// Copies a registry file with new values for one key. Lines of other sections are copied byte for byte;
/// headers that name a key are written as "[path\]".
class SectionCopier {
 public:
  /// Paths are full and end with a backslash; each may be null. Nothing is owned.
  SectionCopier(std::FILE* target, const char* key, ARegistryData& values, const char* removed_key)
      : target_(target), key_(key), values_(values), removed_key_(removed_key) {}

  /// Copies an open file. False with the system's error when reading or writing failed.
  bool copy(int source);

 private:
  void copy_line(const Line& line);
  void copy_header(const char* path);

  std::FILE* target_;
  const char* key_;
  ARegistryData& values_;
  const char* removed_key_;
  bool skipping_{false};  // In a section whose old lines are dropped.
};

}  // namespace tavlib

#endif

#ifndef TAVLIB_REGISTRY_REPLACEMENT_FILE_H
#define TAVLIB_REGISTRY_REPLACEMENT_FILE_H

#include "registry/owners.h"

namespace tavlib {

/// The temporary file "path~", which is written whole and then replaces `path`. Its user holds the exclusive
/// lock on the registry file, so there is only one at a time.
class ReplacementFile {
 public:
  /// Creates the temporary file, with the permissions of any new file; what has its name is removed first.
  /// `path` has at most 1022 characters and must outlive the object.
  explicit ReplacementFile(const char* path);

  /// Removes the temporary file unless it has replaced `path`.
  ~ReplacementFile();

  ReplacementFile(const ReplacementFile&) = delete;
  ReplacementFile& operator=(const ReplacementFile&) = delete;

  /// The stream to write to; null, with the system's error, when the file could not be created.
  std::FILE* stream() const { return stream_.get(); }

  /// Renames the file over `path` once it is safely on the disk, and makes that outlast a loss of power.
  /// False with the system's error; `path` is then untouched. Every earlier write must have succeeded.
  bool replace();

 private:
  bool finish();

  const char* path_;
  char temporary_[1024]{};
  Stream stream_;
  bool pending_{false};  // The temporary file exists and is ours to remove.
};

}  // namespace tavlib

#endif

#ifndef TAVLIB_TESTS_FAULTS_STORE_FILE_CALLS_H
#define TAVLIB_TESTS_FAULTS_STORE_FILE_CALLS_H

// The store's calls of the system, one by one: watched, shortened, made to fail. Without a watcher each goes
// straight to libc. With one, the streams that are opened write through it as well, in blocks of 4096 bytes,
// so that every write of a commit is seen.

#include <sys/types.h>

#include <string>
#include <string_view>

namespace tavtest {

/// A call as it is about to be made. What does not belong to the call is empty.
struct FileCall {
  /// "open", "close", "lock", "unlock", "stat", "read", "write", "truncate", "sync", "rename" or "unlink".
  std::string_view name;
  int fd{-1};
  std::string path{};
  std::string new_path{};  ///< Of a rename.
  int flags{0};            ///< Of an open.
  off_t position{-1};  ///< Of a read or a write, -1: where the descriptor stands; the size of a truncation.
  std::string_view bytes{};  ///< Of a write. A watcher may shorten it: fewer bytes are then written.
};

/// Sees every call while it lives. One at a time.
class FileCallWatcher {
 public:
  FileCallWatcher();
  virtual ~FileCallWatcher();

  FileCallWatcher(const FileCallWatcher&) = delete;
  FileCallWatcher& operator=(const FileCallWatcher&) = delete;

  /// A code other than 0 makes the call fail with it, and it is not made.
  virtual int before(FileCall& call) = 0;

  /// After a call that was made, whatever its result.
  virtual void after(const FileCall& /*call*/, long /*result*/) {}
};

/// While one lives, this process only pretends to sync. A process that is killed leaves the system running,
/// so a sync changes nothing for it, and without the disk's time the other moments of a commit are hit more
/// often.
class PretendedSyncs {
 public:
  PretendedSyncs();
  ~PretendedSyncs();

  PretendedSyncs(const PretendedSyncs&) = delete;
  PretendedSyncs& operator=(const PretendedSyncs&) = delete;
};

}  // namespace tavtest

#endif

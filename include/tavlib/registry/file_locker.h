#ifndef TAVLIB_REGISTRY_FILE_LOCKER_H
#define TAVLIB_REGISTRY_FILE_LOCKER_H

#ifdef __cplusplus

#include <tavlib/export.h>

#include <cstdint>

/// An advisory lock on a whole file, between processes: a POSIX record lock (fcntl), for which it waits.
///
/// The descriptor is not owned and must stay open. As POSIX has it, closing any descriptor of the file drops
/// the process's locks on it.
///
/// It does not keep the threads of one process apart. A thread that uses a key of a registry file drops the
/// locks that a host itself holds on that file.
///
/// Threads: one at a time for each object.
class TAVLIB_API AFileLocker {
 public:
  enum FILELOCKER {
    Unlocked = 0,
    Shared = 1,    ///< Needs a descriptor open for reading.
    Exclusive = 2  ///< Needs a descriptor open for writing.
  };

  /// Locks `fileDescriptor`, waiting for the lock; IsValid returns whether that succeeded.
  AFileLocker(int fileDescriptor, FILELOCKER wanted);

  /// Unlocks if a lock is held.
  ~AFileLocker();

  AFileLocker(const AFileLocker&) = delete;
  AFileLocker& operator=(const AFileLocker&) = delete;

  /// Changes the lock to `wanted`, waiting for it; a signal does not end the wait. 1, or 0 with the system's
  /// error stored in `error`.
  int DoLock(FILELOCKER wanted);

  /// 1 when no lock call has failed; else 0, with the code of the last failure set as the run-time error.
  int IsValid();

 protected:
  std::uint32_t error{0};
  int fd;
  FILELOCKER kind{Unlocked};  ///< The lock now held.
};

#endif

#endif

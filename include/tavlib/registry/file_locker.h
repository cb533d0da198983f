#ifndef TAVLIB_REGISTRY_FILE_LOCKER_H
#define TAVLIB_REGISTRY_FILE_LOCKER_H

#ifdef __cplusplus

#include <tavlib/export.h>

#include <cstdint>

/// An advisory lock on a whole file (fcntl record lock, waiting), between processes. The descriptor is not
/// owned and must stay open. Closing any descriptor of the file drops the process's locks on it, as POSIX has
/// it.
///
/// It does not keep the threads of one process apart and waits for none of them. A thread that uses a key of
/// a registry file drops what locks a host holds on that file by itself. An object belongs to one thread at a
/// time.
class TAVLIB_API AFileLocker {
 public:
  enum FILELOCKER {
    Unlocked = 0,
    Shared = 1,    ///< Needs a descriptor open for reading.
    Exclusive = 2  ///< Needs a descriptor open for writing.
  };

  /// Locks `fileDescriptor`, waiting for it; IsValid tells how that went.
  AFileLocker(int fileDescriptor, FILELOCKER wanted);

  /// Unlocks if a lock is held.
  ~AFileLocker();

  AFileLocker(const AFileLocker&) = delete;
  AFileLocker& operator=(const AFileLocker&) = delete;

  /// Changes the lock to `wanted`, waiting for it. 1, or 0 with the system's error kept in `error`.
  int DoLock(FILELOCKER wanted);

  /// 1 when no lock call failed; else 0, with that failure's code set as the run-time error.
  int IsValid();

 protected:
  std::uint32_t error{0};
  int fd;
  FILELOCKER kind{Unlocked};  ///< The lock now held.
};

#endif

#endif

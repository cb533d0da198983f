#ifndef TAVLIB_REGISTRY_REGISTRY_FILE_H
#define TAVLIB_REGISTRY_REGISTRY_FILE_H

#include "registry/owners.h"

#include <tavlib/registry/file_locker.h>

#include <optional>

namespace tavlib {

/// Opens a registry file, close-on-exec: for reading, or for reading and writing. Null with the system's
/// error.
Stream open_for_reading(const char* path);
Stream open_for_writing(const char* path);

/// The same, creating the file when it is missing. What another process writes to it meanwhile stays.
Stream open_or_create(const char* path);

bool is_writable(std::FILE* stream);

/// Makes a file's new name, from a rename or its creation, outlast a loss of power. `path` has at most 1022
/// characters. A file system that cannot do so has still made the name, so there is no failure to report; the
/// run-time error stays.
void sync_folder_of(const char* path);

/// Opens the path again when by now it names another file than `stream`. False with the system's error.
bool open_current(Stream& stream, const char* path);

/// Locks the file that `path` names now, waiting for the lock. False with the system's error.
///
/// A commit of another process replaces the file. So when `path` names another file once the lock is held,
/// `stream` is opened again: with the lock, every change made before is visible. A lock that `lock` held is
/// released first.
bool lock_current(Stream& stream, const char* path, AFileLocker::FILELOCKER kind,
                  std::optional<AFileLocker>& lock);

}  // namespace tavlib

#endif

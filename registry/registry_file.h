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

/// The same, creating the file when it is missing; what another process wrote to it meanwhile stays.
Stream open_or_create(const char* path);

bool is_writable(std::FILE* stream);

/// Makes the name that a file was given, by a rename or when it was created, outlast a loss of power. `path`
/// has at most 1022 characters. A file system that cannot do it has given the name all the same, so there is
/// no failure to report; the run-time error stays.
void sync_folder_of(const char* path);

/// Opens the path again when it names another file than `stream` by now. False with the system's error.
bool open_current(Stream& stream, const char* path);

/// Locks the file that `path` names now, waiting for it. A commit of another process replaces the file, so
/// `stream` is opened again when the path names another file once the lock is held: whoever holds the lock
/// sees every change made before. A lock that `lock` held is released first. False with the system's error.
bool lock_current(Stream& stream, const char* path, AFileLocker::FILELOCKER kind,
                  std::optional<AFileLocker>& lock);

}  // namespace tavlib

#endif

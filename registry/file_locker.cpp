#include "platform/keep_error.h"
#include "registry/failure.h"

#include <fcntl.h>
#include <tavlib/registry/file_locker.h>
#include <unistd.h>

namespace {

short record_lock_type(AFileLocker::FILELOCKER kind) {
  if (kind == AFileLocker::Shared) return F_RDLCK;
  if (kind == AFileLocker::Exclusive) return F_WRLCK;
  return F_UNLCK;
}

int set_lock(int fd, int command, AFileLocker::FILELOCKER kind) {
  struct flock whole_file {};
  whole_file.l_type = record_lock_type(kind);
  whole_file.l_whence = SEEK_SET;
  int result = 0;
  do {
    result = fcntl(fd, command, &whole_file);
  } while (result == -1 && errno == EINTR);  // A host's signal does not end the wait.
  return result;
}

}  // namespace

AFileLocker::AFileLocker(int fileDescriptor, FILELOCKER wanted) : fd(fileDescriptor) {
  DoLock(wanted);
}

AFileLocker::~AFileLocker() {
  const tavlib::KeepError keep;
  // Not the command that waits: that would be a cancellation point, and a thread must not be cancelled within
  // a destructor.
  if (error == 0 && kind != Unlocked) set_lock(fd, F_SETLK, Unlocked);
}

int AFileLocker::DoLock(FILELOCKER wanted) {
  if (set_lock(fd, F_SETLKW, wanted) == -1) {
    error = AErrors::GetRtlError();
    return 0;
  }
  kind = wanted;
  return 1;
}

int AFileLocker::IsValid() {
  return error == 0 ? 1 : tavlib::fail(error);
}

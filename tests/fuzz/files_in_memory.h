#ifndef TAVLIB_TESTS_FUZZ_FILES_IN_MEMORY_H
#define TAVLIB_TESTS_FUZZ_FILES_IN_MEMORY_H

#include <unistd.h>

#include <cstdlib>

namespace tavtest {

/// Has temporary folders made in memory, where the system offers that and nothing else was asked for.
inline void keep_files_in_memory() {
  if (access("/dev/shm", W_OK) == 0) setenv("TMPDIR", "/dev/shm", 0);
}

}  // namespace tavtest

#endif

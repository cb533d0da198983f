// Keys that cannot be opened, because their file cannot be locked.

#include <fcntl.h>

#include <cerrno>
#include <cstdarg>

#include "servers/configured_list.h"

namespace {

using tavtest::ConfiguredListTest;
using Addresses = std::vector<std::string>;

int locks_before_failure = -1;  // of locks that are taken, not given up; negative: none fails

bool lock_fails(int command, const void* argument) {
  if (command != F_SETLKW || static_cast<const struct flock*>(argument)->l_type == F_UNLCK) return false;
  return locks_before_failure-- == 0;
}

using ServerListLocks = ConfiguredListTest;

// Each lock fails in turn, until a list needs no more of them. A machine-wide port that cannot be read is
// none; a server's key that cannot be opened is passed over, and is not given the machine-wide port.
TEST_F(ServerListLocks, AKeyThatCannotBeOpenedIsNoneAndLaterServersAreRead) {
  config.write_fallback_port(4711);
  config.write_lines({R"([tavlib\Addresses\127.0.0.2\])", "Endpoint=9", R"([tavlib\Addresses\127.0.0.3\])"});
  std::vector<std::pair<Addresses, unsigned>> outcomes;
  do {
    locks_before_failure = static_cast<int>(outcomes.size());
    read();
    EXPECT_EQ(list->IsValid(), addresses().empty() ? 0 : 1);
    outcomes.emplace_back(addresses(), TAVGetLastError());
  } while (locks_before_failure < 0 && outcomes.size() < 10);
  locks_before_failure = -1;
  EXPECT_EQ(outcomes, (std::vector<std::pair<Addresses, unsigned>>{{{"127.0.0.2"}, untouched},
                                                                   {{}, 3},
                                                                   {{"127.0.0.3"}, untouched},
                                                                   {{"127.0.0.2"}, untouched},
                                                                   {{"127.0.0.2", "127.0.0.3"}, untouched}}));
}

}  // namespace

// The linker sends the library's calls here.
extern "C" {

int __real_fcntl(int fd, int command, ...);

int __wrap_fcntl(int fd, int command, ...) {
  if (command == F_GETFL || command == F_GETFD) return __real_fcntl(fd, command);
  va_list arguments;
  va_start(arguments, command);
  void* argument = va_arg(arguments, void*);
  va_end(arguments);
  if (lock_fails(command, argument)) {
    errno = ENOLCK;
    return -1;
  }
  return __real_fcntl(fd, command, argument);
}

}  // extern "C"

#ifndef TAVLIB_TESTS_CONFORMANCE_PRIVATE_MACHINE_H
#define TAVLIB_TESTS_CONFORMANCE_PRIVATE_MACHINE_H

#include <string>

namespace tavtest {

/// Moves the process into a user and mount namespace of its own, as user 0, where /etc and the home directory
/// of user 0 are empty folders in memory; the list of users is kept. What the process writes there is seen by
/// nobody else and gone when it ends. Empty when that worked; otherwise the step that the kernel refused, and
/// why. Only for a process with one thread.
std::string enter_private_machine();

}  // namespace tavtest

#endif

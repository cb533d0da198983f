#ifndef TAVLIB_REGISTRY_OPERATION_H
#define TAVLIB_REGISTRY_OPERATION_H

namespace tavlib {

/// One thread's turn at registry files, for the length of a block. Whatever opens, locks or closes a registry
/// file does so in an operation, and a process has one at a time, for two reasons:
/// - Locks on files belong to the process. A thread that closes any descriptor of a file drops the lock under
///   which another thread changes it.
/// - To the system, threads that wait for the locks of two files at once look like a deadlock.
///
/// An operation does not begin another. Its thread may be cancelled while it waits for the lock on a file,
/// but not while it waits for its turn. May be used before main and while the process ends. The run-time
/// error stays.
class Operation {
 public:
  Operation();
  ~Operation();

  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;
};

}  // namespace tavlib

#endif

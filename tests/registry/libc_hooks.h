#ifndef TAVLIB_TESTS_REGISTRY_LIBC_HOOKS_H
#define TAVLIB_TESTS_REGISTRY_LIBC_HOOKS_H

#include <functional>

namespace tavtest {

/// Libc calls of the registry that a test can watch and make fail.
enum class Call {
  allocate,
  check,
  check_open,
  lock,
  open_file,
  open_stream,
  sync,
  close_stream,
  find_user,
  remove,
  rename,
  read,
  read_nothing,
  write
};

/// Runs `action` just before the `nth` call of its kind (1: the first, 0: every one) while it lives. An
/// action that returns a code other than 0 makes that call fail with it. `lock` is fcntl's F_SETLKW with any
/// lock but the one that unlocks; `allocate` is malloc, calloc, realloc and operator new; `remove` is unlink;
/// `check` is stat and `check_open` fstat; a failing `read_nothing` is a read that gives no byte and no
/// error. `find_user` is getpwuid and getpwuid_r: their action runs when the answer is there already. One
/// hook for each kind of call may live at a time.
class CallHook {
 public:
  CallHook(Call kind, int nth, std::function<int()> action);
  ~CallHook();

  CallHook(const CallHook&) = delete;
  CallHook& operator=(const CallHook&) = delete;

  /// Whether the nth call has been made.
  bool fired() const { return calls_ > 0 && calls_ >= nth_; }

  /// Counts a call; the code that it is to fail with.
  int before_call();

 private:
  const Call kind_;
  const int nth_;
  const std::function<int()> action_;
  int calls_{0};
};

/// Makes the `nth` call fail with `code`.
class CallFails : public CallHook {
 public:
  CallFails(Call kind, int nth, int code) : CallHook(kind, nth, [code] { return code; }) {}
};

/// Forgets every hook, in a process that was forked.
void forget_hooks();

}  // namespace tavtest

#endif

#ifndef TAVLIB_TESTS_PLATFORM_WRAPPED_CALLS_H
#define TAVLIB_TESTS_PLATFORM_WRAPPED_CALLS_H

// Calls from the program's own object files to the system, watched and, where wanted, made to fail. They go
// through the linker's --wrap, so libc's own calls of these functions are not seen.

#include <atomic>
#include <string>
#include <vector>

namespace tavtest {

enum class Call {
  malloc,
  strdup,
  strerror,
  opendir,
  select,
  mutex_init,
  mutex_lock,
  mutex_destroy,
  cond_init,
  cond_wait,
  cond_destroy,
  new_array_nothrow,
  count_of_calls
};

/// Counts one kind of call, from any thread, while it lives (one at a time for each kind).
class Watch {
 public:
  explicit Watch(Call call);
  ~Watch();

  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  int count() const;

  /// Returns once there have been `count` calls.
  void wait_for(int count) const;

  /// From now on, calls after the next `passing` fail with `error_number` (malloc, strdup, strerror, opendir
  /// and new_array_nothrow give null).
  void fail(int error_number, int passing = 0);

 private:
  Call call_;
};

/// What the last calls were given, by this thread.
struct LastArguments {
  std::string opendir;
  const void* object = nullptr;    ///< Of the mutex and condition variable calls.
  bool default_mutex = false;      ///< Whether the last mutex was made with default attributes,
  bool default_condition = false;  ///< and the last condition variable.
  int select_count = 0;
  std::vector<unsigned long> select_read_set;  ///< As many words as the count needs.
  bool select_other_sets = false;
};
LastArguments& last_arguments();

}  // namespace tavtest

#endif

#ifndef TAVLIB_TESTS_SUPPORT_CALL_FAULTS_H
#define TAVLIB_TESTS_SUPPORT_CALL_FAULTS_H

#include <cstddef>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace tavtest {

/// While an object lives, what this thread calls is the library's doing and counts, unless OwnAllocations
/// says that it is the tests' own.
class LibrarySection {
 public:
  LibrarySection();
  ~LibrarySection();

  LibrarySection(const LibrarySection&) = delete;
  LibrarySection& operator=(const LibrarySection&) = delete;
};

/// One way in which a call fails.
struct Way {
  const char* name;
  int error_number;  ///< Left in errno; 0 for a call that falls short without an error.
};

/// Counts every call from the library to the system and to the heap, and makes those of a plan fail. A
/// program gets this by linking tavlib_test_call_faults. One object at a time, and one thread.
class CallFaults {
 public:
  /// The call with this number (from 1) fails in the way with this number (from 0, modulo how many it has).
  struct Fault {
    std::size_t number;
    std::size_t way;
  };

  /// A fault that took place.
  struct Hit {
    std::size_t number;                         ///< Of the call, among all.
    std::string call;                           ///< For example "open".
    std::string way;                            ///< For example "EMFILE".
    int error_number;                           ///< That of the way.
    std::size_t ways;                           ///< In how many ways this call can fail.
    std::size_t size;                           ///< What an allocation asked for.
    std::string previous;                       ///< The call before it in this step.
    std::map<std::string, std::size_t> before;  ///< Calls in this step by name, this one included.

    /// How many calls of that name there were in this step until now.
    std::size_t made(const std::string& name) const;
  };

  explicit CallFaults(std::vector<Fault> plan);
  ~CallFaults();

  CallFaults(const CallFaults&) = delete;
  CallFaults& operator=(const CallFaults&) = delete;

  /// Begins a step: its calls are counted by name from here, and `hits` starts anew.
  void begin_step();

  const std::vector<Hit>& hits() const;      ///< Those of this step.
  const std::vector<Hit>& all_hits() const;  ///< Those of every step.
  std::size_t calls() const;                 ///< Made so far, failed ones included.
};

/// For the replacements of calls: the way in which the call is to fail, with errno set; null when it is to go
/// ahead.
const Way* way_to_fail(const char* call, std::span<const Way> ways, std::size_t size = 0);

/// The same for an allocation, which can only be refused.
bool allocation_refused(const char* call, std::size_t size);

/// For the replacements of the heap's calls: a block of the library's was handed out, or any was released.
void* note_block(void* block);
void note_release(void* block);

/// The sizes of the library's blocks are of no interest here: how many there are.
std::size_t living_blocks();

/// Descriptors that the library left open on purpose, and their number; `close_left_open` closes them.
void note_left_open(int fd);
std::size_t close_left_open();

}  // namespace tavtest

#endif

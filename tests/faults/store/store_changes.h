#ifndef TAVLIB_TESTS_FAULTS_STORE_STORE_CHANGES_H
#define TAVLIB_TESTS_FAULTS_STORE_STORE_CHANGES_H

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace tavtest {

/// One change of a registry file by one call of the library, the last one that `make` makes.
struct StoreChange {
  std::string name;
  std::string before;  ///< The file's text; without a file in the beginning, none.
  std::string after;
  std::function<int(const std::string& path)> make;  ///< The call's result.
  bool appends{false};                               ///< Writes to the file itself, and not a new one.
  bool file_exists{true};
  bool in_steps{false};  ///< Writes with several calls: between them a line is unfinished.

  /// The bytes that the change writes.
  std::size_t written() const { return after.size() - (appends ? before.size() : 0); }

  friend void PrintTo(const StoreChange& change, std::ostream* out) { *out << change.name; }
};

/// A change of each kind, and of files of different sizes.
std::vector<StoreChange> store_changes();

/// Creates the file before the change, if there is to be one, and removes a temporary one.
void prepare(const StoreChange& change, const std::string& path);

/// The file's text; nothing is the same as no file.
std::string text_of(const std::string& path);

/// Sets a value in a further key. Whether that worked and left no temporary file, and the file then holds
/// what it held before and that value. A lock that somebody still holds makes this wait for ever.
bool next_writer_works(const std::string& path);

}  // namespace tavtest

#endif

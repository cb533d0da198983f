#ifndef TAVLIB_TESTS_FAULTS_STORE_STORE_TEXT_H
#define TAVLIB_TESTS_FAULTS_STORE_STORE_TEXT_H

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tavtest {

/// What the text of a registry file says, read without the library.
struct StoreText {
  using Values = std::map<std::string, std::string>;

  /// Values by the path of their key, which ends with a backslash; the root's path is empty. A value is its
  /// text, or the texts of a list, each with a comma behind it, or the digits of a number or of bytes.
  std::map<std::string, Values> keys;

  /// Lines that are neither a header nor a comment nor a value, without their newline. A last line that has
  /// none and cannot be read is not among them, but is the unfinished one.
  std::vector<std::string> strays;
  std::string unfinished;

  /// A value; nothing when the key or the value is missing.
  std::optional<std::string> value(const std::string& key, const std::string& name) const;

  /// A value that is a number; -1 when it is missing.
  long number(const std::string& key, const std::string& name) const;

  friend bool operator==(const StoreText& one, const StoreText& other) {
    return one.keys == other.keys && one.strays == other.strays;
  }
};

StoreText read_store(const std::string& text);

}  // namespace tavtest

#endif

#ifndef GATEWAY_REPORT_H
#define GATEWAY_REPORT_H

#include <optional>
#include <string>
#include <vector>

#include "user.h"

namespace gateway {

/// Compares answers with what is expected, prints the wrong ones and counts both kinds.
class Report {
 public:
  /// Counts one answer and prints a wrong one on standard error. Returns `right`.
  bool check(bool right, const std::string& what);

  /// The same for the answer to one look-up. An answer of nothing means that the look-up failed.
  bool check(const Place& expected, const std::optional<User>& answer, const std::string& how);

  int right() const;
  int wrong() const;

 private:
  int right_{0};
  int wrong_{0};
};

/// Prints rows as columns, two blanks apart. The first row holds the headings.
void print_table(const std::vector<std::vector<std::string>>& rows);

/// A text for people: "NAME, GROUP", "nobody", or "no answer".
std::string describe(const std::optional<User>& user);

}  // namespace gateway

#endif

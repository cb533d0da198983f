#include "report.h"

#include <algorithm>
#include <iomanip>
#include <iostream>

namespace gateway {

bool Report::check(bool right, const std::string& what) {
  ++(right ? right_ : wrong_);
  if (!right) std::cerr << "WRONG: " << what << '\n';
  return right;
}

bool Report::check(const Place& expected, const std::optional<User>& answer, const std::string& how) {
  return check(
      answer.has_value() && *answer == expected.user,
      expected.address + " (" + how + "): " + describe(answer) + ", expected " + describe(expected.user));
}

int Report::right() const {
  return right_;
}

int Report::wrong() const {
  return wrong_;
}

void print_table(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const auto& row : rows) {
    widths.resize(std::max(widths.size(), row.size()));
    for (std::size_t i = 0; i < row.size(); ++i) {
      widths[i] = std::max(widths[i], row[i].size());
    }
  }
  for (const auto& row : rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      std::cout << "  " << std::left << std::setw(i + 1 < row.size() ? static_cast<int>(widths[i]) : 0)
                << row[i];
    }
    std::cout << '\n';
  }
}

std::string describe(const std::optional<User>& user) {
  if (!user.has_value()) return "no answer";
  return is_nobody(*user) ? "nobody" : user->name + ", " + user->group;
}

}  // namespace gateway

#ifndef TAVLIB_TESTS_FAULTS_NETWORK_VERDICT_H
#define TAVLIB_TESTS_FAULTS_NETWORK_VERDICT_H

#include <array>
#include <ostream>
#include <string>

#include "faults/network/users.h"

namespace tavtest {

/// What a look-up told its host: with code 0 the texts, else why it failed.
struct Answer {
  unsigned code = 0;
  User user = {};
};

/// How a look-up ended, the answer compared with the table.
enum class Verdict { right, nobody, error_reply, bad_digest, lost, wrong };
constexpr std::size_t verdict_kinds = 6;
constexpr std::array<const char*, verdict_kinds> verdict_names{
    "answered right", "no user", "error reply", "bad digest", "lost or expired", "WRONG"};

/// Codes 2, 13 and 4 are the prescribed ways to fail; every other one is wrong, like an answer that is not
/// the table's.
inline Verdict judge(const User& expected, const Answer& answer) {
  switch (answer.code) {
    case 0:
      if (answer.user != expected) return Verdict::wrong;
      return expected == User{} ? Verdict::nobody : Verdict::right;
    case 2:
      return Verdict::error_reply;
    case 4:
      return Verdict::lost;
    case 13:
      return Verdict::bad_digest;
    default:
      return Verdict::wrong;
  }
}

inline std::ostream& operator<<(std::ostream& out, Verdict verdict) {
  return out << verdict_names.at(static_cast<std::size_t>(verdict));
}

}  // namespace tavtest

#endif

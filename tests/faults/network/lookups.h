#ifndef TAVLIB_TESTS_FAULTS_NETWORK_LOOKUPS_H
#define TAVLIB_TESTS_FAULTS_NETWORK_LOOKUPS_H

#include <tavlib/tavlib.h>

#include <array>
#include <optional>
#include <ostream>

#include "faults/network/verdict.h"

namespace tavtest {

/// Which functions a look-up uses: those of single sign-on, or an enumeration with the address as its filter
/// in 8-bit or wide texts.
enum class Kind { sso, narrow, wide };
constexpr std::array<Kind, 3> all_kinds{Kind::sso, Kind::narrow, Kind::wide};

inline const char* name_of(Kind kind) {
  return (std::array{"Sso", "Narrow", "Wide"}).at(static_cast<std::size_t>(kind));
}

inline std::ostream& operator<<(std::ostream& out, Kind kind) {
  return out << name_of(kind);
}

/// The first argument word of a query that compares the address.
constexpr unsigned match_address = 0x10;

/// Looks an address up and waits.
Answer look_up(Kind kind, unsigned long server, unsigned long address);

/// What an enumeration's step told: `result` of the call, and the record that it filled.
Answer answer_of(int result, const _TAVENTRYA& entry);
Answer answer_of(int result, const _TAVENTRYW& entry);

/// One asynchronous look-up. It ends through serve_socket, the layer's own calls or give_up; then it may be
/// started again. It must not be destroyed while it is pending.
class AsyncLookup {
 public:
  AsyncLookup() = default;
  AsyncLookup(const AsyncLookup&) = delete;
  AsyncLookup& operator=(const AsyncLookup&) = delete;

  void start(Kind kind, unsigned long server, unsigned long address);
  bool is_pending() const { return pending_; }

  /// What was told. Nothing before the end.
  const std::optional<Answer>& answer() const { return answer_; }

  /// How often an end was told since the start: 1 once it has ended.
  unsigned ends() const { return ends_; }

  /// Takes the outcome that TAVASyncPop told of `handle`, whose Context is the look-up.
  static void popped(const TAVASYNC& handle, int result);

  /// Gives up a look-up with a handle of its own, which ends as lost. One of the single-sign-on layer is left
  /// alone.
  void give_up();

 private:
  static void told(int success, void* self);
  template <typename Entry, auto begin, auto next>
  void start_query(unsigned long server, unsigned long address, Entry& entry);
  void end(Answer answer);

  Kind kind_ = Kind::sso;
  bool pending_ = false;
  unsigned ends_ = 0;
  std::optional<Answer> answer_;
  std::array<char, 65> user_{};
  std::array<char, 65> second_{};
  TAVQueryEnum* query_ = nullptr;
  _TAVENTRYA narrow_{};
  _TAVENTRYW wide_{};
  TAVASYNC handle_{};
};

/// The part of a host's event loop that concerns one server: whether the socket has something to read, and
/// the calls that a host makes then, which read at most one datagram each. `serve_socket` repeats them until
/// nothing is left.
bool is_readable_now(unsigned long server);
void serve_socket(unsigned long server);

}  // namespace tavtest

#endif

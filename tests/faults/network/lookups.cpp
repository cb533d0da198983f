#include "faults/network/lookups.h"

#include <poll.h>
#include <tavlib/api/sso.h>

#include <cstring>
#include <string>

namespace tavtest {
namespace {

struct Registration {
  int (*ready)(int, void*) = nullptr;
  void* argument = nullptr;
};

// The gateway's socket in the event loop.
Registration& registration() {
  static Registration one;
  return one;
}

std::string text_of(const char* text) {
  return text == nullptr ? "" : text;
}

// The tests' texts are ASCII.
std::string text_of(const wchar_t* text) {
  std::string narrow;
  for (; text != nullptr && *text != L'\0'; ++text) {
    narrow += static_cast<char>(*text);
  }
  return narrow;
}

template <typename Entry>
Answer told_by(int result, const Entry& entry) {
  const unsigned code = result == 1 ? 0 : TAVGetLastError();
  if (code == TAV_E_NOMORE || (code == 0 && entry.word12 != 0)) return {};
  if (code != 0) return {code, {}};
  return {0, {text_of(entry.user), text_of(entry.string3)}};
}

template <typename Entry, auto begin, auto next>
Answer query(unsigned long server, unsigned long address) {
  Entry entry{};
  entry.address = static_cast<std::uint32_t>(address);
  TAVQueryEnum* started = nullptr;
  if (begin(&entry, match_address, 0, server, 0, &started) == 0) return {TAVGetLastError(), {}};
  const int result = next(started, &entry);
  Answer answer = told_by(result, entry);
  TAVQueryClose(started);
  return answer;
}

Answer ask_sso(unsigned long address) {
  char user[65] = "";
  char second[65] = "";
  if (SSO_GetUserByAddr(address, user, 64, second, 64) == 0) return {SSO_GetLastError(), {}};
  return {0, {user, second}};
}

void pop_all(unsigned long server) {
  for (;;) {
    TAVASYNC* handle = nullptr;
    const int result = TAVASyncPop(&handle, server);
    if (handle == nullptr) return;
    AsyncLookup::popped(*handle, result);
  }
}

}  // namespace

Answer look_up(Kind kind, unsigned long server, unsigned long address) {
  switch (kind) {
    case Kind::narrow:
      return query<_TAVENTRYA, TAVQueryStartA, TAVQueryNextA>(server, address);
    case Kind::wide:
      return query<_TAVENTRYW, TAVQueryStartW, TAVQueryNextW>(server, address);
    default:
      return ask_sso(address);
  }
}

Answer answer_of(int result, const _TAVENTRYA& entry) {
  return told_by(result, entry);
}

Answer answer_of(int result, const _TAVENTRYW& entry) {
  return told_by(result, entry);
}

void AsyncLookup::start(Kind kind, unsigned long server, unsigned long address) {
  kind_ = kind;
  pending_ = true;
  ends_ = 0;
  answer_.reset();
  switch (kind) {
    case Kind::narrow:
      return start_query<_TAVENTRYA, TAVQueryStartA, TAVQueryNextAsA>(server, address, narrow_);
    case Kind::wide:
      return start_query<_TAVENTRYW, TAVQueryStartW, TAVQueryNextAsW>(server, address, wide_);
    default:
      return SSO_GetUserByAddrAsync(address, user_.data(), 64, second_.data(), 64, told, this);
  }
}

template <typename Entry, auto begin, auto next>
void AsyncLookup::start_query(unsigned long server, unsigned long address, Entry& entry) {
  entry = {};
  entry.address = static_cast<std::uint32_t>(address);
  handle_ = {this, nullptr};
  if (begin(&entry, match_address, 0, server, 0, &query_) == 0) return end({TAVGetLastError(), {}});
  const int result = next(query_, &entry, &handle_);
  if (result != 0 || TAVGetLastError() != TAV_E_PENDING) end(told_by(result, entry));
}

void AsyncLookup::told(int success, void* self) {
  auto& lookup = *static_cast<AsyncLookup*>(self);
  if (success == 0) return lookup.end({SSO_GetLastError(), {}});
  lookup.end({0, {lookup.user_.data(), lookup.second_.data()}});
}

void AsyncLookup::popped(const TAVASYNC& handle, int result) {
  if (result == 0 && TAVGetLastError() == TAV_E_PENDING) return;
  auto& lookup = *static_cast<AsyncLookup*>(handle.Context);
  lookup.end(lookup.kind_ == Kind::wide ? told_by(result, lookup.wide_) : told_by(result, lookup.narrow_));
}

void AsyncLookup::give_up() {
  if (!pending_ || kind_ == Kind::sso) return;
  TAVASyncAbandon(&handle_);
  end({TAV_E_ABANDONED, {}});
}

// The texts of an enumeration end with it, so the answer was copied before.
void AsyncLookup::end(Answer answer) {
  pending_ = false;
  ++ends_;
  answer_ = std::move(answer);
  TAVQueryClose(query_);
  query_ = nullptr;
}

bool is_readable_now(unsigned long server) {
  pollfd watched{TAVGetSocket(server), POLLIN, 0};
  return poll(&watched, 1, 0) == 1;
}

// A pop may read a look-up of the layer, and the layer's callback a handle's answer: each keeps what is not
// its own.
void serve_socket(unsigned long server) {
  do {
    registration().ready(0, registration().argument);
    pop_all(server);
  } while (is_readable_now(server));
  registration().ready(0, registration().argument);
}

}  // namespace tavtest

extern "C" {

int T_event_set_socket(int /*socket*/, int (*ready)(int, void*), void* argument) {
  tavtest::registration() = {ready, argument};
  return 0;
}

int T_event_del_socket(int /*socket*/) {
  return 0;
}
}

#include "faults/network/soak_run.h"

#include <arpa/inet.h>
#include <poll.h>

#include <csignal>
#include <stdexcept>

#include "faults/network/soak_time.h"

namespace tavtest {
namespace {

constexpr const char* server_address = "127.0.0.1";
constexpr const char* passphrase = "soak";
constexpr unsigned addresses = 64;
constexpr std::size_t in_flight = 160;  // Their replies fit the socket's buffer.
constexpr std::chrono::duration<unsigned, std::milli> too_old{1000};
constexpr std::uint64_t expire_every = 64;       // look-ups
constexpr std::uint64_t wait_every = 50;         // look-ups
constexpr std::uint64_t enumerate_every = 5000;  // look-ups
constexpr int idle_ms = 100;
constexpr unsigned sso_percent = 70;
constexpr unsigned narrow_percent = 15;

std::vector<std::string> server_arguments(const std::string& entries, std::uint64_t seed) {
  std::vector<std::string> arguments{"--address",       server_address,
                                     "--passphrase",    passphrase,
                                     "--entries",       entries,
                                     "--seed",          std::to_string(seed),
                                     "--delay-ms",      "5",
                                     "--interim-count", "2",
                                     "--flood-count",   "16"};
  for (const char* rule :
       {"loss=prob:0.01", "delay=prob:0.01", "duplicate=prob:0.02", "reorder=prob:0.02", "digest=prob:0.005",
        "id=prob:0.005", "truncate=prob:0.005", "error=prob:0.005", "interim=prob:0.02", "corrupt=prob:0.005",
        "replay=prob:0.02", "flood=prob:0.002"}) {
    arguments.insert(arguments.end(), {"--fault", rule});
  }
  return arguments;
}

std::string entries_in(const TempFolder& folder, const Users& users) {
  write_file(folder.file("entries.json"), users.entries_file());
  return folder.file("entries.json");
}

bool readable_soon(unsigned long server) {
  pollfd watched{TAVGetSocket(server), POLLIN, 0};
  return poll(&watched, 1, idle_ms) == 1;
}

std::string describe(unsigned index, const User& expected, const Answer& answer) {
  return "address " + std::to_string(index) + ": expected \"" + expected.user + "\", \"" + expected.second +
         "\", code " + std::to_string(answer.code) + " with \"" + answer.user.user + "\", \"" +
         answer.user.second + "\"";
}

}  // namespace

SoakRun::SoakRun(const SoakOptions& options)
    : options_(options),
      users_(addresses),
      server_(server_arguments(entries_in(folder_, users_), options.seed)),
      config_({{server_address, server_.wait_for_port(server_address), passphrase}}, server_address),
      address_(inet_addr(server_address)),
      random_(options.seed),
      slots_(in_flight),
      report_(options.lookups) {
  if (SSO_Init() == nullptr) throw std::runtime_error("SSO_Init failed");
}

SoakRun::~SoakRun() {
  for (Slot& slot : slots_)
    slot.lookup.give_up();
  SSO_Exit();
}

bool SoakRun::run() {
  while (fill_slots())
    wait_for_answers();
  return report_.conclude(options_.max_growth);
}

// Ends what has ended and starts what may start. False when all is done.
bool SoakRun::fill_slots() {
  bool busy = false;
  for (Slot& slot : slots_) {
    if (slot.busy && !slot.lookup.is_pending()) finish(slot);
    if (!slot.busy && started_ < options_.lookups) start(slot);
    busy = busy || slot.busy;
  }
  return busy;
}

void SoakRun::start(Slot& slot) {
  if (started_ % wait_every == 0) look_up_waiting();
  if (started_ % enumerate_every == enumerate_every / 2) enumerate();
  if (started_ % expire_every == 0) expire();
  slot.busy = true;
  slot.index = any_index();
  slot.started = uptime();
  const auto percent = random_() % 100;
  const Kind kind = percent < sso_percent                    ? Kind::sso
                    : percent < sso_percent + narrow_percent ? Kind::narrow
                                                             : Kind::wide;
  next_start();
  slot.lookup.start(kind, address_, users_.address(slot.index));
}

// A millisecond for each look-up: so the age at which one counts as lost does not depend on the machine.
void SoakRun::next_start() {
  ++started_;
  pass(std::chrono::milliseconds(1));
  if (options_.break_memory) kept_.push_back(std::make_unique<std::array<char, 1024>>());
}

void SoakRun::finish(Slot& slot) {
  slot.busy = false;
  if (slot.lookup.ends() == 1) {
    check(slot.index, *slot.lookup.answer());
  } else {
    report_.count(Verdict::wrong, "a look-up ended " + std::to_string(slot.lookup.ends()) + " times");
  }
}

// When nothing comes any more, all that is in flight is lost.
void SoakRun::wait_for_answers() {
  serve_socket(address_);
  for (const Slot& slot : slots_) {
    if (slot.busy && !slot.lookup.is_pending()) return;
  }
  if (readable_soon(address_)) return;
  pass(too_old + std::chrono::milliseconds(1));
  expire();
}

void SoakRun::expire() {
  SSO_ExpireLookups(too_old.count());
  for (Slot& slot : slots_) {
    if (slot.busy && uptime() - slot.started > too_old) slot.lookup.give_up();
  }
}

void SoakRun::look_up_waiting() {
  const unsigned index = any_index();
  const Kind kind = all_kinds.at(static_cast<std::size_t>(random_() % all_kinds.size()));
  next_start();
  check(index, look_up(kind, address_, users_.address(index)));
}

void SoakRun::enumerate() {
  if (random_() % 2 == 0) {
    enumerate_all<_TAVENTRYA, TAVQueryStartA, TAVQueryNextA>();
  } else {
    enumerate_all<_TAVENTRYW, TAVQueryStartW, TAVQueryNextW>();
  }
}

// A step that failed leaves the enumeration where it was, and is tried again.
template <typename Entry, auto begin, auto next>
void SoakRun::enumerate_all() {
  Entry entry{};
  TAVQueryEnum* query = nullptr;
  if (begin(&entry, 0, 0, address_, 0, &query) == 0) throw std::runtime_error("no enumeration");
  for (auto expected = users_.with_entry().begin();;) {
    next_start();
    const int result = next(query, &entry);
    const bool ended = result == 0 && TAVGetLastError() == TAV_E_NOMORE;
    if (ended != (expected == users_.with_entry().end()) && (ended || result == 1)) {
      report_.count(Verdict::wrong, "an enumeration is too short or too long");
      break;
    }
    if (ended) {
      report_.count(Verdict::nobody);
      break;
    }
    const Answer answer = answer_of(result, entry);
    if (check(expected == users_.with_entry().end() ? 0 : *expected, answer) == Verdict::wrong) break;
    if (answer.code == 0) ++expected;
  }
  TAVQueryClose(query);
}

Verdict SoakRun::check(unsigned index, const Answer& answer) {
  User expected = users_.at(index);
  if (options_.break_table && index == 0) expected.user += "?";
  const Verdict verdict = judge(expected, answer);
  report_.count(verdict, verdict == Verdict::wrong ? describe(index, expected, answer) : "");
  return verdict;
}

}  // namespace tavtest

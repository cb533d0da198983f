// A small gateway. It asks TAV servers who is at an address, waiting and through its own event loop, and
// compares each answer with a file of expected users. The exit code is 0 only when every answer was right.
#include <tavlib/tavlib.h>

#include <algorithm>
#include <clocale>
#include <exception>
#include <iostream>
#include <stdexcept>

#include "lookup.h"
#include "report.h"
#include "servers.h"
#include "user.h"

namespace gateway {
namespace {

constexpr std::size_t lookups_through_loop = 500;
constexpr unsigned patience_ms = 10000;

// The library, from start-up to shut-down.
class Session {
 public:
  Session() {
    const char* const product = SSO_Init();
    if (product == nullptr) {
      throw std::runtime_error("SSO_Init: error " + std::to_string(SSO_GetLastError()));
    }
    std::cout << product << '\n';
  }
  ~Session() { SSO_Exit(); }

  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;
};

void show_servers(Report& report) {
  std::vector<std::vector<std::string>> rows{{"SERVER", "VERSION"}};
  for (const unsigned long server : configured_servers()) {
    const std::optional<unsigned> version = version_of(server);
    report.check(version.has_value(), dotted(server) + " does not answer with its version");
    rows.push_back({dotted(server), version.has_value() ? std::to_string(*version) : "-"});
  }
  report.check(rows.size() > 1, "no server is configured");
  std::cout << "\nThe configured servers\n";
  print_table(rows);
}

bool holds(const std::vector<Place>& places, const Place& wanted) {
  return std::any_of(places.begin(), places.end(), [&](const Place& place) {
    return place.address == wanted.address && place.user == wanted.user;
  });
}

// Each server holds the same entries: the expected users and nobody else.
void show_entries(Report& report, const std::vector<Place>& expected) {
  for (const unsigned long server : configured_servers()) {
    const std::vector<Place> entries = entries_of(server);
    std::vector<std::vector<std::string>> rows{{"ADDRESS", "USER", "GROUP"}};
    for (const Place& entry : entries) {
      report.check(holds(expected, entry),
                   dotted(server) + " holds " + entry.address + ": " + describe(entry.user));
      if (is_nobody(entry.user)) {
        rows.push_back({entry.address, "(logged out)", "-"});
      } else {
        rows.push_back({entry.address, entry.user.name, entry.user.group});
      }
    }
    for (const Place& place : expected) {
      if (is_nobody(place.user)) continue;
      report.check(holds(entries, place), dotted(server) + " does not hold " + place.address);
    }
    std::cout << "\nEvery entry of " << dotted(server) << '\n';
    print_table(rows);
  }
}

// Many look-ups through the event loop, the expected addresses in turn.
std::vector<std::optional<User>> look_up_through_loop(const std::vector<Place>& expected) {
  std::vector<std::string> addresses;
  for (std::size_t i = 0; i < lookups_through_loop; ++i) {
    addresses.push_back(expected[i % expected.size()].address);
  }
  Lookups lookups(addresses);
  lookups.run(patience_ms);
  std::vector<std::optional<User>> answers;
  for (std::size_t i = 0; i < lookups_through_loop; ++i) {
    answers.push_back(lookups.result(i));
  }
  return answers;
}

void show_lookups(Report& report, const std::vector<Place>& expected) {
  const std::vector<std::optional<User>> answers = look_up_through_loop(expected);
  std::vector<bool> right(expected.size(), true);
  for (std::size_t i = 0; i < answers.size(); ++i) {
    const std::size_t place = i % expected.size();
    if (!report.check(expected[place], answers[i], "event loop")) right[place] = false;
  }
  std::vector<std::vector<std::string>> rows{{"ADDRESS", "WHO", "WAITING", "EVENT LOOP"}};
  for (std::size_t i = 0; i < expected.size(); ++i) {
    const std::optional<User> answer = look_up(expected[i].address);
    const bool waiting = report.check(expected[i], answer, "waiting");
    rows.push_back(
        {expected[i].address, describe(answer), waiting ? "right" : "WRONG", right[i] ? "right" : "WRONG"});
  }
  std::cout << "\nWho is where? Each address asked for waiting, and " << lookups_through_loop
            << " look-ups through the event loop, " << most_in_flight << " in flight at once\n";
  print_table(rows);
}

// The last address with nobody gets a user, and then every server knows it.
void show_adding(Report& report, const std::vector<Place>& expected) {
  const auto vacant = std::find_if(expected.rbegin(), expected.rend(),
                                   [](const Place& place) { return is_nobody(place.user); });
  if (vacant == expected.rend()) throw std::runtime_error("every expected address has a user");
  report.check(add_entry({vacant->address, {"Nora Lind", "Reception"}}), "not every server took the entry");

  const Place added{vacant->address, {"NORA LIND", "RECEPTION"}};
  const std::optional<User> answer = look_up(added.address);
  report.check(added, answer, "just added");
  for (const unsigned long server : configured_servers()) {
    report.check(holds(entries_of(server), added), dotted(server) + " does not hold the added entry");
  }
  std::cout << "\nNora Lind logs in at " << added.address << "; it is now " << describe(answer) << '\n';
}

int run(const std::string& expected_file) {
  const std::vector<Place> expected = read_places(expected_file);
  if (expected.empty()) throw std::runtime_error(expected_file + ": no users");
  Report report;
  const Session session;
  show_servers(report);
  show_entries(report, expected);
  show_lookups(report, expected);
  show_adding(report, expected);
  std::cout << '\n' << report.right() << " answers were right, " << report.wrong() << " were wrong.\n";
  return report.wrong() == 0 ? 0 : 1;
}

}  // namespace
}  // namespace gateway

int main(int count, char** arguments) {
  if (count != 2) {
    std::cerr << "usage: gateway EXPECTED-USERS\n";
    return 2;
  }
  std::setlocale(LC_CTYPE, "");  // the library converts texts that are not ASCII by this locale
  try {
    return gateway::run(arguments[1]);
  } catch (const std::exception& failure) {
    std::cerr << "gateway: " << failure.what() << '\n';
    return 1;
  }
}

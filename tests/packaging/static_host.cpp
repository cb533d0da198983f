// A host that is linked with everything it needs, the C library included.
//
//   static_host --name
//
// prints the name of the calling user, as the system's name service tells it.
//
//   static_host FOLDER ADDRESS...
//
// makes FOLDER the top of the file system, so that nothing of the machine can be loaded any more, uses the
// library and prints what it finds at the addresses, and whether a hundred times more of it leave memory or
// descriptors behind. Exits with 77 when the kernel refuses the folder.
//
// Built without WITH_EVENT_LOOP it has no event loop.
#include <arpa/inet.h>
#include <endian.h>
#include <fcntl.h>
#include <poll.h>
#include <pwd.h>
#include <sched.h>
#include <tavlib/tavlib.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

#include "packaging/helping_thread.h"
#include "support/process_memory.h"

namespace {

constexpr int refused = 77;

struct {
  int socket = -1;
  int (*ready)(int, void*) = nullptr;
  void* argument = nullptr;
} watched;
bool removed = false;

bool enter(const char* folder) {
  const bool entered = chroot(folder) == 0 || (unshare(CLONE_NEWUSER) == 0 && chroot(folder) == 0);
  return entered && chdir("/") == 0;
}

struct Answer {
  std::array<char, 65> user{};
  std::array<char, 65> group{};
  int told = -1;
};

void print(const char* how, const Answer& answer) {
  std::cout << how << ": " << answer.told << " '" << answer.user.data() << "' '" << answer.group.data()
            << "'\n";
}

Answer look_up(unsigned long address) {
  Answer answer;
  answer.told = SSO_GetUserByAddr(address, answer.user.data(), 64, answer.group.data(), 64);
  return answer;
}

Answer look_up_with_event_loop(unsigned long address) {
  Answer answer;
  SSO_GetUserByAddrAsync(
      address, answer.user.data(), 64, answer.group.data(), 64,
      [](int success, void* cookie) { static_cast<Answer*>(cookie)->told = success; }, &answer);
  pollfd readable{watched.socket, POLLIN, 0};
  while (answer.told == -1 && poll(&readable, 1, 5000) == 1)
    watched.ready(0, watched.argument);
  if (answer.told == -1) std::_Exit(1);  // the look-up would outlive what it writes to
  return answer;
}

std::string use_registry() {
  Registry settings(REGISTRY_ROOT_USER);
  std::string value;
  const bool good = settings.Create("host", 3) == 1 && settings.SetValue("name", "value") == 1 &&
                    settings.QueryValue("name", value) == 1;
  return good ? value : std::strerror(static_cast<int>(GetRtlError()));
}

// A last error of its own for a thread that outlives the library.
void exit_under_a_thread() {
  TAVSetLastError(1);
  {
    tavtest::HelpingThread living;
    living.run([] { TAVSetLastError(42); });
    SSO_Exit();
  }
  std::cout << "exited: " << TAVGetLastError() << '\n';
}

// One by one: FOLDER has no /proc.
int open_descriptors() {
  int open = 0;
  for (int descriptor = 0; descriptor < 1024; ++descriptor)
    open += fcntl(descriptor, F_GETFD) != -1 ? 1 : 0;
  return open;
}

// All of it, from start to exit, with a thread that lives on.
bool use_once(tavtest::HelpingThread& living, unsigned long address) {
  if (SSO_Init() == nullptr) return false;
  living.run([] { TAVSetLastError(42); });
  const bool waited = look_up(address).told == 1;
  const bool served = watched.ready == nullptr || look_up_with_event_loop(address).told == 1;
  const bool kept = use_registry() == "value";
  SSO_Exit();
  return waited && served && kept;
}

// What is made once for the process is made in the first rounds.
void use_again_and_again(unsigned long address) {
  constexpr int rounds = 100;
  tavtest::HelpingThread living;
  bool good = true;
  for (int round = 0; round < 10; ++round)
    good = use_once(living, address) && good;
  const long memory = tavtest::allocated();
  const int descriptors = open_descriptors();
  for (int round = 0; round < rounds; ++round)
    good = use_once(living, address) && good;
  std::cout << "again: " << (good ? "good" : "bad") << '\n'
            << "left: " << (tavtest::allocated() - memory) / rounds << " bytes, "
            << open_descriptors() - descriptors << " descriptors\n";
}

int print_name() {
  const passwd* const user = getpwuid(getuid());
  std::cout << (user == nullptr ? "nobody" : user->pw_name) << '\n';
  return 0;
}

}  // namespace

#ifdef WITH_EVENT_LOOP

int T_event_set_socket(int socket, int (*ready)(int, void*), void* argument) {
  watched = {socket, ready, argument};
  return 0;
}

int T_event_del_socket(int socket) {
  removed = socket == watched.socket;
  return 0;
}

#endif

int main(int count, char** arguments) {
  if (count == 2 && std::strcmp(arguments[1], "--name") == 0) return print_name();
  if (count < 3) return 2;
  if (!enter(arguments[1])) return refused;
  if (SSO_Init() == nullptr) {
    std::cout << "error " << SSO_GetLastError() << '\n';
    return 1;
  }
  for (int i = 2; i < count; ++i) {
    const unsigned long address = htole32(inet_addr(arguments[i]));
    print("waiting", look_up(address));
    if (watched.ready != nullptr) print("with the event loop", look_up_with_event_loop(address));
  }
  std::cout << "registry: " << use_registry() << '\n';
  exit_under_a_thread();
  if (watched.ready != nullptr) std::cout << "removed: " << removed << '\n';
  use_again_and_again(htole32(inet_addr(arguments[2])));
  return 0;
}

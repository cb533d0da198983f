// A host that is linked with everything it needs, the C library included.
//
//   static_host --name
//
// prints the name of the calling user, as the system's name service tells it.
//
//   static_host FOLDER ADDRESS...
//
// makes FOLDER the top of the file system, so that nothing of the machine can be loaded any more, uses the
// library and prints what it finds at the addresses. Exits with 77 when the kernel refuses the folder.
//
// Built without WITH_EVENT_LOOP it has no event loop.
#include <arpa/inet.h>
#include <poll.h>
#include <pwd.h>
#include <sched.h>
#include <tavlib/tavlib.h>
#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstring>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>

namespace {

constexpr int refused = 77;

struct {
  int socket = -1;
  int (*ready)(int, void*) = nullptr;
  void* argument = nullptr;
} watched;

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

void look_up(unsigned long address) {
  Answer answer;
  answer.told = SSO_GetUserByAddr(address, answer.user.data(), 64, answer.group.data(), 64);
  print("waiting", answer);
}

void look_up_with_event_loop(unsigned long address) {
  Answer answer;
  SSO_GetUserByAddrAsync(
      address, answer.user.data(), 64, answer.group.data(), 64,
      [](int success, void* cookie) { static_cast<Answer*>(cookie)->told = success; }, &answer);
  pollfd readable{watched.socket, POLLIN, 0};
  while (answer.told == -1 && poll(&readable, 1, 5000) == 1)
    watched.ready(0, watched.argument);
  print("with the event loop", answer);
}

void use_registry() {
  Registry settings(REGISTRY_ROOT_USER);
  std::string value;
  const bool good = settings.Create("host", 3) == 1 && settings.SetValue("name", "value") == 1 &&
                    settings.QueryValue("name", value) == 1;
  std::cout << "registry: " << (good ? value : std::strerror(static_cast<int>(GetRtlError()))) << '\n';
}

// A last error of its own for a thread that outlives the library.
void exit_under_a_thread() {
  std::mutex mutex;
  std::condition_variable changed;
  bool used = false;
  bool exited = false;
  TAVSetLastError(1);
  std::thread living([&] {
    TAVSetLastError(42);
    std::unique_lock lock(mutex);
    used = true;
    changed.notify_all();
    changed.wait(lock, [&] { return exited; });
  });
  {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return used; });
    SSO_Exit();
    exited = true;
    changed.notify_all();
  }
  living.join();
  std::cout << "exited: " << TAVGetLastError() << '\n';
}

int print_name() {
  const passwd* const user = getpwuid(getuid());
  std::cout << (user == nullptr ? "nobody" : user->pw_name) << '\n';
  return 0;
}

}  // namespace

#ifdef WITH_EVENT_LOOP

extern "C" int T_event_set_socket(int socket, int (*ready)(int, void*), void* argument) {
  watched = {socket, ready, argument};
  return 0;
}

extern "C" int T_event_del_socket(int socket) {
  std::cout << "removed: " << (socket == watched.socket) << '\n';
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
    look_up(inet_addr(arguments[i]));
    if (watched.ready != nullptr) look_up_with_event_loop(inet_addr(arguments[i]));
  }
  use_registry();
  exit_under_a_thread();
  return 0;
}

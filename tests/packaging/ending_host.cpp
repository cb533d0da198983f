// A host that ends its process while its threads are in every part of the library: ending_host ADDRESS
#include <arpa/inet.h>
#include <endian.h>
#include <tavlib/tavlib.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <thread>

namespace {

// Never destroyed, as everything that the threads use.
std::atomic<int> wanted{0};
std::atomic<int> busy{0};

// Does `work` again and again in a thread that nobody waits for.
template <typename Work>
void keep_doing(Work work) {
  ++wanted;
  std::thread([work] {
    work();
    ++busy;
    for (;;)
      work();
  }).detach();
}

void look_up(unsigned long address) {
  std::array<char, 65> user{};
  if (SSO_GetUserByAddr(address, user.data(), 64, nullptr, 0) == 0) std::_Exit(1);
}

void use_registry() {
  ARegistry handle;
  if (handle.Open(REGISTRY_ROOT_USER, "ending\\host", 1, nullptr, 3) == 0) std::_Exit(1);
}

void have_a_thread_end() {
  static long counter = 0;
  std::thread([] {
    InterlockedIncrement(&counter);
    TAVSetLastError(42);
  }).join();
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2 || SSO_Init() == nullptr) return 2;
  const unsigned long address = htole32(inet_addr(arguments[1]));
  keep_doing([address] { look_up(address); });
  keep_doing(use_registry);
  keep_doing(have_a_thread_end);
  while (busy != wanted)
    std::this_thread::yield();
  return 0;
}

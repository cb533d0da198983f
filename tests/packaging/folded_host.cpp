// A host whose linker makes functions of equal code one: folded_host ADDRESS
//
// Prints who is at the address. It asks with a request whose context is the host's own: memory that nobody
// may read, the library neither. Exits with 3 when the linker folded nothing.
#include <arpa/inet.h>
#include <endian.h>
#include <poll.h>
#include <sys/mman.h>
#include <tavlib/tavlib.h>

#include <iostream>

namespace {

constexpr unsigned by_address = 0x10;

int one() {
  return 42;
}

int other() {
  return 42;
}

bool folded() {
  int (*const volatile first)() = one;
  int (*const volatile second)() = other;
  return first == second;
}

int fail(const char* what) {
  std::cout << what << ": error " << TAVGetLastError() << '\n';
  return 1;
}

int look_up(unsigned long server, _TAVENTRYA entry) {
  TAVQueryEnum* query = nullptr;
  if (TAVQueryStartA(&entry, by_address, 0, server, 0, &query) == 0) return fail("start");
  void* const own = mmap(nullptr, 1, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  TAVASYNC handle{own, nullptr};
  if (TAVQueryNextAsA(query, &entry, &handle) == 1 || TAVGetLastError() != TAV_E_PENDING) return fail("send");

  pollfd readable{TAVASyncSocket(&handle), POLLIN, 0};
  TAVASYNC* answered = nullptr;
  if (poll(&readable, 1, 30000) != 1 || TAVASyncPop(&answered, server) != 1) return fail("answer");
  if (answered != &handle || answered->Context != own) return fail("handle");
  std::cout << entry.user << '\n';
  TAVQueryClose(query);
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 2) return 2;
  if (!folded()) return 3;
  unsigned long server = 0;
  if (TAVInitialize() == 0 || TAVEnumServers(0, &server) == 0) return fail("initialise");
  _TAVENTRYA entry{};
  entry.address = htole32(inet_addr(arguments[1]));
  const int result = look_up(server, entry);
  TAVExit();
  return result;
}

// Prints who is at an address, with a library that is loaded while the program runs:
// lookup_dlopen libtavlib.so.1 10.1.0.11
//
// This host has no event loop and defines neither T_event_set_socket nor T_event_del_socket. The library
// loads without them, even with every symbol resolved at once, and blocking look-ups work.
#include <arpa/inet.h>
#include <dlfcn.h>
#include <endian.h>
#include <tavlib/tavlib.h>

#include <clocale>
#include <iostream>

namespace {

// The headers only give the types of the functions; nothing is linked.
template <typename Function>
Function* find(void* library, const char* name) {
  void* const symbol = dlsym(library, name);
  if (symbol == nullptr) std::cerr << "lookup_dlopen: " << dlerror() << '\n';
  return reinterpret_cast<Function*>(symbol);
}

int look_up(void* library, unsigned long address) {
  auto* const init = find<decltype(SSO_Init)>(library, "SSO_Init");
  auto* const get_user = find<decltype(SSO_GetUserByAddr)>(library, "SSO_GetUserByAddr");
  auto* const last_error = find<decltype(SSO_GetLastError)>(library, "SSO_GetLastError");
  auto* const exit = find<decltype(SSO_Exit)>(library, "SSO_Exit");
  if (init == nullptr || get_user == nullptr || last_error == nullptr || exit == nullptr) return 1;

  char user[65] = "";  // the library gets 64 of the 65 bytes, so each text ends with a zero
  char group[65] = "";
  const bool ran = init() != nullptr && get_user(address, user, 64, group, 64) == 1;
  if (ran && *user != '\0') std::cout << user << ", " << group << '\n';
  if (ran && *user == '\0') std::cout << "nobody\n";
  if (!ran) std::cerr << "lookup_dlopen: error " << last_error() << '\n';
  exit();
  return ran ? 0 : 1;
}

}  // namespace

int main(int count, char** arguments) {
  if (count != 3) {
    std::cerr << "usage: lookup_dlopen LIBRARY ADDRESS\n";
    return 2;
  }
  std::setlocale(LC_CTYPE, "");  // the library converts names that are not ASCII by this locale
  void* const library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::cerr << "lookup_dlopen: " << dlerror() << '\n';
    return 1;
  }
  const int result = look_up(library, htole32(inet_addr(arguments[2])));  // the same number on every host
  dlclose(library);
  return result;
}

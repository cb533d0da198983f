// Prints who is at an address: lookup 10.1.0.11. Waits for the answer, up to 300 seconds.
#include <arpa/inet.h>
#include <endian.h>
#include <tavlib/tavlib.h>

#include <clocale>
#include <iostream>

int main(int count, char** arguments) {
  const in_addr_t address = count == 2 ? inet_addr(arguments[1]) : INADDR_NONE;
  if (address == INADDR_NONE) {
    std::cerr << "usage: lookup ADDRESS\n";
    return 2;
  }
  std::setlocale(LC_CTYPE, "");  // the library converts names that are not ASCII by this locale
  if (SSO_Init() == nullptr) {
    std::cerr << "lookup: SSO_Init: error " << SSO_GetLastError() << '\n';
    return 1;
  }
  char user[65] = "", group[65] = "";  // the library gets 64 of the 65 bytes, so each text ends with a zero
  const int ran = SSO_GetUserByAddr(htole32(address), user, 64, group, 64);  // the same number on every host
  if (ran == 0) std::cerr << "lookup: SSO_GetUserByAddr: error " << SSO_GetLastError() << '\n';
  if (ran == 1 && *user != '\0') std::cout << user << ", " << group << '\n';
  if (ran == 1 && *user == '\0') std::cout << "nobody\n";
  SSO_Exit();
  return ran == 1 ? 0 : 1;
}

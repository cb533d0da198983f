// Prints who is at an address: lookup 10.1.0.11
#include <arpa/inet.h>
#include <endian.h>
#include <tavlib/tavlib.h>

#include <iostream>

int main(int count, char** arguments) {
  if (count != 2) return 2;
  char user[65] = "", group[65] = "";  // the library gets 64 of the 65 bytes, so each text ends with a zero
  const unsigned long address = htole32(inet_addr(arguments[1]));  // the same number on every host
  const bool ran = SSO_Init() != nullptr && SSO_GetUserByAddr(address, user, 64, group, 64) == 1;
  if (ran && *user != '\0') std::cout << user << ", " << group << '\n';
  if (ran && *user == '\0') std::cout << "nobody\n";
  if (!ran) std::cerr << "lookup: error " << SSO_GetLastError() << '\n';
  SSO_Exit();
  return ran ? 0 : 1;
}

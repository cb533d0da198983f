/* Prints who is at an address: lookup_c 10.1.0.11 */
#define _DEFAULT_SOURCE /* for endian.h */
#include <arpa/inet.h>
#include <endian.h>
#include <stdio.h>
#include <tavlib/tavlib.h>

int main(int count, char** arguments) {
  if (count != 2) return 2;
  char user[65] = "", group[65] = ""; /* the library gets 64 of the 65 bytes, so each text ends with a zero */
  unsigned long address = htole32(inet_addr(arguments[1])); /* the same number on every host */
  int ran = SSO_Init() != NULL && SSO_GetUserByAddr(address, user, 64, group, 64);
  if (ran && *user) printf("%s, %s\n", user, group);
  if (ran && !*user) puts("nobody");
  if (!ran) fprintf(stderr, "lookup_c: error %u\n", SSO_GetLastError());
  SSO_Exit();
  return ran ? 0 : 1;
}

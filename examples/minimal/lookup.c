/* Prints who is at an address: lookup_c 10.1.0.11. Waits for the answer, up to 300 seconds. */
#define _DEFAULT_SOURCE /* for endian.h */
#include <arpa/inet.h>
#include <endian.h>
#include <locale.h>
#include <stdio.h>
#include <tavlib/tavlib.h>

int main(int count, char** arguments) {
  char user[65] = "", group[65] = ""; /* the library gets 64 of the 65 bytes, so each text ends with a zero */
  in_addr_t address = count == 2 ? inet_addr(arguments[1]) : INADDR_NONE;
  if (address == INADDR_NONE) {
    fputs("usage: lookup_c ADDRESS\n", stderr);
    return 2;
  }
  setlocale(LC_CTYPE, ""); /* the library converts names that are not ASCII by this locale */
  if (SSO_Init() == NULL) {
    fprintf(stderr, "lookup_c: SSO_Init: error %u\n", SSO_GetLastError());
    return 1;
  }
  int ran = SSO_GetUserByAddr(htole32(address), user, 64, group, 64); /* the same number on every host */
  if (!ran) fprintf(stderr, "lookup_c: SSO_GetUserByAddr: error %u\n", SSO_GetLastError());
  if (ran && *user) printf("%s, %s\n", user, group);
  if (ran && !*user) puts("nobody");
  SSO_Exit();
  return ran ? 0 : 1;
}

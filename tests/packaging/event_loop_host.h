/* A host with an event loop, in C and in C++: prints who is at an address, as the callback says. It says
   neither extern "C" nor anything about visibility: the library's header does. */

#define _DEFAULT_SOURCE /* for endian.h */
#include <arpa/inet.h>
#include <endian.h>
#include <poll.h>
#include <stdio.h>
#include <tavlib/tavlib.h>

/* The loop's one socket. */
static struct pollfd watched = {-1, POLLIN, 0};
static int (*watched_ready)(int, void*);
static void* watched_argument;

int T_event_set_socket(int socket, int (*ready)(int, void*), void* argument) {
  watched.fd = socket;
  watched_ready = ready;
  watched_argument = argument;
  return 0;
}

int T_event_del_socket(int socket) {
  if (watched.fd == socket) watched.fd = -1;
  return 0;
}

static void ended(int success, void* cookie) {
  *(int*)cookie = success;
}

/* Serves the loop until the look-up has ended; -1 when it does not. */
static int look_up(unsigned long address, char* user, char* group) {
  int success = -1;
  SSO_GetUserByAddrAsync(address, user, 64, group, 64, ended, &success);
  while (success == -1 && poll(&watched, 1, 5000) == 1)
    watched_ready(0, watched_argument);
  return success;
}

int main(int count, char** arguments) {
  char user[65] = "", group[65] = "";
  int success;
  if (count != 2) return 2;
  if (SSO_Init() == NULL) {
    printf("error %u\n", SSO_GetLastError());
    return 1;
  }
  success = look_up(htole32(inet_addr(arguments[1])), user, group);
  if (success != 1) {
    puts(success == 0 ? "the look-up failed" : "the look-up does not end");
  } else if (*user == '\0') {
    puts("nobody");
  } else {
    printf("%s, %s\n", user, group);
  }
  SSO_Exit();
  return success == 1 && watched.fd == -1 ? 0 : 1;
}

/* Uses something of each kind that the library offers to C. */
#include <stdio.h>
#include <string.h>
#include <tavlib/tavlib.h>

static int has_functions(void) {
  unsigned version = 0;
  return TAVQueryVersion(1, &version) == 0 && TAVGetLastError() == TAV_E_NOTINITIALISED;
}

static int has_records(void) {
  char user[] = "user";
  struct _TAVENTRYA entry;
  _TAVENTRYW wide;
  int converted;
  memset(&entry, 0, sizeof entry);
  entry.user = user;
  converted = EntryAToW(&wide, &entry) == 1 && wcscmp(wide.user, L"user") == 0;
  DeMarshalFreeStrings(&wide);
  return converted && wide.user == NULL && sizeof(_TAVPACKET) == 4096;
}

int main(void) {
  const int good = has_functions() && has_records();
  puts(good ? "good" : "bad");
  return good ? 0 : 1;
}

// Uses something of each kind that the library offers to C++: functions, a class, records and an exception.
#include <tavlib/tavlib.h>

#include <cstring>
#include <iostream>

namespace {

bool has_functions() {
  unsigned version = 0;
  return TAVQueryVersion(1, &version) == 0 && TAVGetLastError() == TAV_E_NOTINITIALISED;
}

bool has_classes() {
  unsigned char block[8] = {1, 2, 3, 4, 5, 6, 7, 8};
  unsigned char out[8];
  CBlowfish cipher("key", 3);
  cipher.encrypt(block, out);
  cipher.decrypt(out, out);
  return std::memcmp(block, out, sizeof out) == 0;
}

bool has_records() {
  char user[] = "user";
  _TAVENTRYA entry{};
  entry.user = user;
  _TAVENTRYW wide{};
  const bool converted = EntryAToW(wide, entry) == 1 && std::wcscmp(wide.user, L"user") == 0;
  DeMarshalFreeStrings(wide);
  return converted;
}

bool has_exceptions() {
  try {
    const SSO_TAVContext look_up(1, nullptr, 0, nullptr, 0, nullptr, nullptr);
  } catch (const tavexception& failure) {
    return failure.code == TAV_E_NOTINITIALISED;
  }
  return false;
}

}  // namespace

int main() {
  const bool good = has_functions() && has_classes() && has_records() && has_exceptions();
  std::cout << (good ? "good" : "bad") << '\n';
  return good ? 0 : 1;
}

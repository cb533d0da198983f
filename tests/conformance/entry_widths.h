#ifndef TAVLIB_TESTS_CONFORMANCE_ENTRY_WIDTHS_H
#define TAVLIB_TESTS_CONFORMANCE_ENTRY_WIDTHS_H

// The functions that exist in two forms, for tests of both.

#include <tavlib/tavlib.h>

#include <string>

namespace tavtest {

struct Narrow {
  using Entry = _TAVENTRYA;
  using Text = std::string;
  static constexpr auto start = TAVQueryStartA;
  static constexpr auto next = TAVQueryNextA;
  static constexpr auto next_as = TAVQueryNextAsA;
  static constexpr auto add = TAVAddEntryA;
};

struct Wide {
  using Entry = _TAVENTRYW;
  using Text = std::wstring;
  static constexpr auto start = TAVQueryStartW;
  static constexpr auto next = TAVQueryNextW;
  static constexpr auto next_as = TAVQueryNextAsW;
  static constexpr auto add = TAVAddEntryW;
};

/// An ASCII text in the characters of a width.
template <typename Width>
typename Width::Text text(const std::string& ascii) {
  return {ascii.begin(), ascii.end()};
}

/// What a record's text says, in ASCII; "(null)" for none.
template <typename Character>
std::string ascii(const Character* text) {
  if (text == nullptr) return "(null)";
  std::string result;
  for (; *text != 0; ++text)
    result += static_cast<char>(*text);
  return result;
}

}  // namespace tavtest

#endif

#include <gtest/gtest.h>
#include <tavlib/platform/wide_strings.h>

#include <cerrno>
#include <cstdlib>
#include <cwchar>
#include <memory>

#include "wrapped_calls.h"

namespace tavtest {
namespace {

struct Free {
  void operator()(void* block) const { std::free(block); }
};
using WideText = std::unique_ptr<wchar_t, Free>;

TEST(WideStringCopy, OfNullIsNull) {
  const wchar_t* volatile nothing = nullptr;
  EXPECT_EQ(wcsdup(nothing), nullptr);
}

TEST(WideStringCopy, OfAnEmptyStringIsANewBufferWithOnlyTheTerminator) {
  const wchar_t empty[] = L"";
  const WideText copy(wcsdup(empty));
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy.get(), empty);
  EXPECT_EQ(copy.get()[0], L'\0');
}

TEST(WideStringCopy, HoldsEveryCharacterAndTheTerminator) {
  const wchar_t text[] = L"ma\u00dfe \u20ac \U0001F600";
  const WideText copy(wcsdup(text));
  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy.get(), text);
  EXPECT_EQ(std::wmemcmp(copy.get(), text, sizeof text / sizeof *text), 0);
}

TEST(WideStringCopy, ComesFromMallocAndIsNullWhenThatFails) {
  Watch malloc_calls(Call::malloc);
  const WideText copy(wcsdup(L"text"));
  EXPECT_EQ(malloc_calls.count(), 1);
  malloc_calls.fail(ENOMEM);
  EXPECT_EQ(wcsdup(L"text"), nullptr);
}

}  // namespace
}  // namespace tavtest

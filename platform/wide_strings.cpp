#include <tavlib/export.h>
#include <tavlib/platform/wide_strings.h>

#include <cstdlib>
#include <cwchar>

// The system's header declares this for C++, but without the attribute that exports it.
extern "C" TAVLIB_API wchar_t* wcsdup(const wchar_t* s) noexcept {
  if (s == nullptr) return nullptr;
  auto* copy = static_cast<wchar_t*>(std::malloc((std::wcslen(s) + 1) * sizeof(wchar_t)));
  if (copy != nullptr) std::wcscpy(copy, s);
  return copy;
}

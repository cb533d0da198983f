#ifndef TAVLIB_TESTS_PROTOCOL_SCOPED_LOCALE_H
#define TAVLIB_TESTS_PROTOCOL_SCOPED_LOCALE_H

#include <clocale>
#include <stdexcept>
#include <string>

namespace tavtest {

/// Sets the process's locale for one scope. A locale that the machine lacks throws: the test then fails.
class ScopedLocale {
 public:
  explicit ScopedLocale(const char* name) : before_(std::setlocale(LC_ALL, nullptr)) {
    if (std::setlocale(LC_ALL, name) == nullptr) throw std::runtime_error(std::string("no locale ") + name);
  }
  ScopedLocale(const ScopedLocale&) = delete;
  ScopedLocale& operator=(const ScopedLocale&) = delete;
  ~ScopedLocale() { std::setlocale(LC_ALL, before_.c_str()); }

 private:
  std::string before_;
};

}  // namespace tavtest

#endif

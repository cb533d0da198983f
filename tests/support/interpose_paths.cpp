#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <vector>

#include "support/next_symbol.h"
#include "support/own_allocations.h"
#include "support/redirect.h"

namespace tavtest {
namespace {

// The living objects of one class, oldest first.
template <typename Redirect>
class Living {
 public:
  void add(const Redirect* redirect) {
    const std::lock_guard lock(mutex_);
    all_.push_back(redirect);
  }

  void remove(const Redirect* redirect) {
    const std::lock_guard lock(mutex_);
    all_.erase(std::remove(all_.begin(), all_.end(), redirect), all_.end());
  }

  /// The youngest for which `fits` holds, handed to `use`; without one, `otherwise`.
  template <typename Result, typename Fits, typename Use>
  Result find(Fits fits, Use use, Result otherwise) {
    const std::lock_guard lock(mutex_);
    const auto found = std::find_if(all_.rbegin(), all_.rend(), [&](const Redirect* r) { return fits(*r); });
    return found == all_.rend() ? otherwise : use(**found);
  }

 private:
  std::mutex mutex_;
  std::vector<const Redirect*> all_;
};

// Never destroyed: the calls go on until the very end of the process.
template <typename Redirect>
Living<Redirect>& living() {
  static auto& all = *new Living<Redirect>;
  return all;
}

std::string redirected(const std::string& path) {
  return living<PathRedirect>().find(
      [&](const PathRedirect& r) { return path.compare(0, r.from.size(), r.from) == 0; },
      [&](const PathRedirect& r) { return r.to + path.substr(r.from.size()); }, path);
}

// A path as a call is to use it, in memory of the tests' own.
class Redirected {
 public:
  explicit Redirected(const char* path) : path_(redirected(path)) {}

  const char* c_str() const { return path_.c_str(); }

 private:
  const OwnAllocations own_;  // lives longer than the path
  const std::string path_;
};

enum class Answer { from_libc, no_such_user, entry };

// A user's entry, with the text that it points to.
struct PasswdEntry {
  std::string home;
  passwd entry{};
};

Answer fill(PasswdEntry& answer, uid_t uid) {
  const OwnAllocations own;
  return living<HomeRedirect>().find([&](const HomeRedirect& r) { return r.uid == uid; },
                                     [&](const HomeRedirect& r) {
                                       static char name[] = "someone";
                                       answer.home = r.home.value_or("");
                                       answer.entry = passwd{};
                                       answer.entry.pw_name = name;
                                       answer.entry.pw_uid = uid;
                                       answer.entry.pw_dir = r.home ? answer.home.data() : nullptr;
                                       return r.known ? Answer::entry : Answer::no_such_user;
                                     },
                                     Answer::from_libc);
}

}  // namespace

PathRedirect::PathRedirect(std::string from_prefix, std::string to_prefix)
    : from(std::move(from_prefix)), to(std::move(to_prefix)) {
  living<PathRedirect>().add(this);
}
PathRedirect::~PathRedirect() {
  living<PathRedirect>().remove(this);
}

UserRedirect::UserRedirect(uid_t user) : uid(user) {
  living<UserRedirect>().add(this);
}
UserRedirect::~UserRedirect() {
  living<UserRedirect>().remove(this);
}

HomeRedirect::HomeRedirect(uid_t user) : uid(user), known(false) {
  living<HomeRedirect>().add(this);
}
HomeRedirect::HomeRedirect(uid_t user, const char* directory)
    : uid(user),
      known(true),
      home(directory == nullptr ? std::nullopt : std::optional<std::string>(directory)) {
  living<HomeRedirect>().add(this);
}
HomeRedirect::~HomeRedirect() {
  living<HomeRedirect>().remove(this);
}

}  // namespace tavtest

using tavtest::next_symbol;
using tavtest::Redirected;

TAVTEST_REPLACES_LIBC int stat(const char* path, struct stat* result) noexcept {
  static auto* const real = next_symbol<int(const char*, struct stat*)>(TAVTEST_SYMBOL(stat));
  return real(Redirected(path).c_str(), result);
}

TAVTEST_REPLACES_LIBC int open(const char* path, int flags, ...) {
  static auto* const real = next_symbol<int(const char*, int, ...)>(TAVTEST_SYMBOL(open));
  mode_t mode = 0;
  if ((flags & (O_CREAT | O_TMPFILE)) != 0) {
    va_list arguments;
    va_start(arguments, flags);
    mode = va_arg(arguments, mode_t);
    va_end(arguments);
  }
  return real(Redirected(path).c_str(), flags, mode);
}

TAVTEST_REPLACES_LIBC int creat(const char* path, mode_t mode) {
  static auto* const real = next_symbol<int(const char*, mode_t)>(TAVTEST_SYMBOL(creat));
  return real(Redirected(path).c_str(), mode);
}

TAVTEST_REPLACES_LIBC FILE* fopen(const char* path, const char* mode) {
  static auto* const real = next_symbol<FILE*(const char*, const char*)>(TAVTEST_SYMBOL(fopen));
  return real(Redirected(path).c_str(), mode);
}

TAVTEST_REPLACES_LIBC int rename(const char* from, const char* to) noexcept {
  static auto* const real = next_symbol<int(const char*, const char*)>(TAVTEST_SYMBOL(rename));
  return real(Redirected(from).c_str(), Redirected(to).c_str());
}

TAVTEST_REPLACES_LIBC int unlink(const char* path) noexcept {
  static auto* const real = next_symbol<int(const char*)>(TAVTEST_SYMBOL(unlink));
  return real(Redirected(path).c_str());
}

TAVTEST_REPLACES_LIBC int remove(const char* path) noexcept {
  static auto* const real = next_symbol<int(const char*)>(TAVTEST_SYMBOL(remove));
  return real(Redirected(path).c_str());
}

TAVTEST_REPLACES_LIBC uid_t getuid() noexcept {
  static auto* const real = next_symbol<uid_t()>(TAVTEST_SYMBOL(getuid));
  const auto any = [](const tavtest::UserRedirect&) { return true; };
  const auto uid = [](const tavtest::UserRedirect& r) { return r.uid; };
  return tavtest::living<tavtest::UserRedirect>().find(any, uid, real());
}

TAVTEST_REPLACES_LIBC passwd* getpwuid(uid_t uid) {
  static auto* const real = next_symbol<passwd*(uid_t)>(TAVTEST_SYMBOL(getpwuid));
  static tavtest::PasswdEntry answer;  // one for all threads, as libc's
  switch (tavtest::fill(answer, uid)) {
    case tavtest::Answer::entry:
      return &answer.entry;
    case tavtest::Answer::no_such_user:
      return nullptr;
    default:
      return real(uid);
  }
}

TAVTEST_REPLACES_LIBC int getpwuid_r(uid_t uid, passwd* entry, char* buffer, std::size_t size,
                                     passwd** result) {
  static auto* const real =
      next_symbol<int(uid_t, passwd*, char*, std::size_t, passwd**)>(TAVTEST_SYMBOL(getpwuid_r));
  const tavtest::OwnAllocations own;
  tavtest::PasswdEntry answer;
  const tavtest::Answer kind = tavtest::fill(answer, uid);
  if (kind == tavtest::Answer::from_libc) return real(uid, entry, buffer, size, result);
  *result = nullptr;
  if (kind == tavtest::Answer::no_such_user) return 0;
  if (size <= answer.home.size()) return ERANGE;
  *entry = answer.entry;
  if (entry->pw_dir != nullptr)
    entry->pw_dir = static_cast<char*>(std::memcpy(buffer, answer.home.c_str(), answer.home.size() + 1));
  *result = entry;
  return 0;
}

#ifndef TAVLIB_TESTS_SUPPORT_REDIRECT_H
#define TAVLIB_TESTS_SUPPORT_REDIRECT_H

// Paths and users that libc reports differently while an object of these classes lives. Later objects win
// over earlier ones. Any thread may make the calls.

#include <sys/types.h>

#include <optional>
#include <string>

namespace tavtest {

/// A path that begins with `from` is used as `to` followed by the rest, in stat, open, creat, fopen, rename,
/// unlink and remove. Only the beginning is compared: PathRedirect("/.regfile", "/tmp/x/top") also covers
/// "/.regfile~".
class PathRedirect {
 public:
  PathRedirect(std::string from, std::string to);
  ~PathRedirect();

  PathRedirect(const PathRedirect&) = delete;
  PathRedirect& operator=(const PathRedirect&) = delete;

  const std::string from;
  const std::string to;
};

/// getuid answers `uid`.
class UserRedirect {
 public:
  explicit UserRedirect(uid_t uid);
  ~UserRedirect();

  UserRedirect(const UserRedirect&) = delete;
  UserRedirect& operator=(const UserRedirect&) = delete;

  const uid_t uid;
};

/// getpwuid and getpwuid_r answer for `uid` with an entry whose home directory is `home`; with a null home
/// directory for a null `home`; and that there is no such user when made without `home`.
class HomeRedirect {
 public:
  explicit HomeRedirect(uid_t uid);
  HomeRedirect(uid_t uid, const char* home);
  ~HomeRedirect();

  HomeRedirect(const HomeRedirect&) = delete;
  HomeRedirect& operator=(const HomeRedirect&) = delete;

  const uid_t uid;
  const bool known;
  const std::optional<std::string> home;
};

}  // namespace tavtest

#endif

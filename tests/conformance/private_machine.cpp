#include "conformance/private_machine.h"

#include <pwd.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <sstream>
#include <stdexcept>

#include "support/temp_folder.h"

namespace tavtest {
namespace {

void require(bool worked, const std::string& step) {
  if (!worked) throw std::runtime_error(step + ": " + std::strerror(errno));
}

// Whether in_private_machine.sh did it. What it says must hold before anything of the machine's is covered: a
// namespace that it made has one user, the machine's own has all.
bool moved_by_starter() {
  if (std::getenv("TAVTEST_IN_PRIVATE_MACHINE") == nullptr) return false;
  std::istringstream users(read_file("/proc/self/uid_map"));
  unsigned first = 1;
  unsigned outside = 0;
  unsigned count = 0;
  users >> first >> outside >> count;
  return first == 0 && count == 1;
}

// The calling user becomes user 0 of the new namespace.
void become_user_0() {
  const std::string user = std::to_string(geteuid());
  const std::string group = std::to_string(getegid());
  require(unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0, "unshare");
  write_file("/proc/self/setgroups", "deny");
  write_file("/proc/self/uid_map", "0 " + user + " 1");
  write_file("/proc/self/gid_map", "0 " + group + " 1");
}

void cover(const char* folder) {
  require(mount("none", folder, "tmpfs", 0, "mode=0755") == 0, std::string("mount on ") + folder);
}

void cover_folders() {
  const std::string users = read_file("/etc/passwd");
  const passwd* user_0 = getpwuid(0);
  require(user_0 != nullptr, "getpwuid(0)");
  const std::string home = user_0->pw_dir;
  require(mount("none", "/", "none", MS_REC | MS_PRIVATE, nullptr) == 0, "making mounts private");
  cover(home.c_str());
  cover("/etc");
  write_file("/etc/passwd", users);
  write_file("/etc/nsswitch.conf", "passwd: files\n");
  require(getpwuid(0) != nullptr && home == getpwuid(0)->pw_dir, "finding user 0 again");
}

}  // namespace

std::string enter_private_machine() {
  try {
    if (!moved_by_starter()) become_user_0();
    cover_folders();
    return "";
  } catch (const std::exception& failure) {
    return failure.what();
  }
}

}  // namespace tavtest

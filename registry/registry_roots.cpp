#include "registry/registry_roots.h"

#include <pwd.h>
#include <tavlib/platform/critical_section.h>
#include <tavlib/registry/registry_handle.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <new>
#include <string>

namespace tavlib {

namespace {

using SharedKey = std::atomic<ARegistryKey*>;

SharedKey user_key{nullptr};
SharedKey superuser_key{nullptr};

// Holds a lock for the length of a block.
class Holder {
 public:
  explicit Holder(ACritSec& section) : section_(section) { section_.DoLock(1); }
  ~Holder() { section_.Unlock(); }

  Holder(const Holder&) = delete;
  Holder& operator=(const Holder&) = delete;

 private:
  ACritSec& section_;
};

// A user's home directory; empty for a user who has none or who is unknown, and when the look-up fails. Each
// call has a buffer of its own, since threads may call at the same moment; it grows until the answer fits.
std::string home_of(uid_t user) {
  passwd entry{};
  passwd* found = nullptr;
  std::size_t size = 1024;
  auto buffer = std::make_unique<char[]>(size);
  int error = 0;
  while ((error = getpwuid_r(user, &entry, buffer.get(), size, &found)) == ERANGE || error == EINTR) {
    if (error == ERANGE) buffer = std::make_unique<char[]>(size *= 2);
  }
  if (error == ENOMEM) throw std::bad_alloc();
  return found == nullptr || entry.pw_dir == nullptr ? "" : entry.pw_dir;
}

// The registry file in a user's home directory. A home that is too long is cut so that the whole fits a
// key's path; without a home the file is at the top of the file system.
ARegistryKey* make_home_key(uid_t user) {
  constexpr std::size_t longest_home = 1013;
  return new ARegistryKey((home_of(user).substr(0, longest_home) + "/.regfile").c_str());
}

// The lock belongs to one call and excludes no other thread: two threads that are the first to open a root at
// the same moment both create its key, and the later one is kept.
ARegistryKey* shared_key(SharedKey& shared, uid_t user) {
  ACritSec section;
  const Holder holder(section);
  ARegistryKey* key = shared.load();
  if (key == nullptr) {
    key = make_home_key(user);
    shared.store(key);
  }
  return key;
}

}  // namespace

ARegistryKey* resolve_root(ARegistryKey* root) {
  if (root == REGISTRY_ROOT_SUPERUSER) return shared_key(superuser_key, 0);
  if (root == REGISTRY_ROOT_USER) return shared_key(user_key, getuid());
  return root;
}

}  // namespace tavlib

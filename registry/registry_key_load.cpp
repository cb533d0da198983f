#include "registry/blocks.h"
#include "registry/failure.h"
#include "registry/operation.h"
#include "registry/registry_file.h"
#include "registry/section_reader.h"

#include <tavlib/registry/registry_key.h>

using tavlib::fail;

namespace {

// What happens to a key that is to be opened.
enum class Plan { Read, OpenWithoutValues, AppendSection, Refuse, Missing };

Plan plan_for(const tavlib::Section& section, bool create, bool write) {
  if (section.values_at) return Plan::Read;
  if (create && !write && !section.present) return Plan::Refuse;
  if (!create && !write && section.present) return Plan::OpenWithoutValues;
  if (!create && !section.present) return Plan::Missing;
  return Plan::AppendSection;
}

// The full path of the key `sub_path` below `key_name`, with a trailing backslash; empty for the top of the
// file.
tavlib::QuietString target_path(const char* key_name, tavlib::QuietString sub_path) {
  constexpr std::size_t longest = 4095;
  sub_path.erase(sub_path.find_last_not_of('\\') + 1);
  if (sub_path.empty()) return sub_path;
  return ((key_name == nullptr ? "" : key_name) + sub_path + "\\").substr(0, longest);
}

tavlib::Stream open_for(const char* path, bool write) {
  if (!write) return tavlib::open_for_reading(path);
  tavlib::Stream stream = tavlib::open_for_writing(path);
  if (!stream && AErrors::GetRtlError() == tavlib::kNoSuchEntry) stream = tavlib::open_or_create(path);
  return stream;
}

// Opens the file, or continues with what an earlier load opened, and locks it. With write access it is the
// file that the path names once the lock is held. Without, it is the one that the path named before, old or
// new: a writer that keeps replacing the file does not keep readers waiting.
bool open_and_lock(tavlib::Stream& stream, const char* path, bool write, std::optional<AFileLocker>& lock) {
  if (stream && !write && !tavlib::open_current(stream, path)) return false;
  if (!stream) stream = open_for(path, write);
  if (!stream) return false;
  if (write) return tavlib::lock_current(stream, path, AFileLocker::Shared, lock);
  lock.emplace(fileno(stream.get()), AFileLocker::Shared);
  return lock->IsValid() != 0;
}

// Finds the key in the file, and creates the list of the sections below it anew.
bool search(std::FILE* file, const tavlib::QuietString& target, std::unique_ptr<ARegistryKeyList>& below,
            tavlib::Section& section) {
  section = {};
  below = std::make_unique<ARegistryKeyList>();
  if (!tavlib::find_section(fileno(file), target, *below, section)) return false;
  below->Sort();
  return true;
}

}  // namespace

int ARegistryKey::LoadKey(const char* subPath, int create, unsigned accessBits, int* created) {
  if (subPath == nullptr) return fail(tavlib::kBadAddress);
  const tavlib::Operation operation;
  access = accessBits;
  const bool write = (access & REGISTRY_ACCESS_WRITE) != 0;
  std::optional<AFileLocker> lock;
  if (!open_and_lock(file, path, write, lock)) return 0;
  values.reset();
  const tavlib::QuietString target = target_path(keyName.get(), subPath);
  if (target.empty()) keyName.reset();

  tavlib::Section section;
  if (!search(file.get(), target, subkeys, section)) return 0;
  if (created != nullptr) *created = 0;
  Plan plan = plan_for(section, create != 0, write);
  if (plan == Plan::AppendSection) {
    // The shared lock is released before the exclusive one is taken: two processes that both raised theirs
    // would wait for each other for ever. So the file is searched again for what another process changed in
    // between.
    if (!tavlib::lock_current(file, path, AFileLocker::Exclusive, lock)) return 0;
    if (!search(file.get(), target, subkeys, section)) return 0;
    plan = plan_for(section, create != 0, write);
  }
  if (plan == Plan::Refuse) return fail(tavlib::kAccessDenied);
  if (plan == Plan::Missing) return fail(tavlib::kNoSuchEntry);

  tavlib::QuietPtr<ARegistryData> loaded(new ARegistryData);
  if (plan == Plan::Read && !tavlib::read_values(fileno(file.get()), *section.values_at, *loaded)) return 0;
  tavlib::TextBlock name(tavlib::copy_text(target.c_str()));
  if (plan == Plan::AppendSection) {
    if (!tavlib::append_section(fileno(file.get()), target)) return 0;
    tavlib::sync_folder_of(path);  // The file itself may be new.
  }
  if (created != nullptr && plan == Plan::AppendSection && !section.present) *created = 1;
  keyName = std::move(name);
  values.reset(loaded.release());
  return 1;
}

#include "registry/blocks.h"
#include "registry/failure.h"

#include <strings.h>
#include <tavlib/registry/registry_key_list.h>

#include <algorithm>
#include <functional>

using tavlib::fail;

namespace {

bool begins_with(const char* text, const char* beginning) {
  return strncasecmp(text, beginning, std::strlen(beginning)) == 0;
}

}  // namespace

ARegistryKeyList::~ARegistryKeyList() {
  std::for_each(entries, entries + count, std::free);
  std::free(entries);
}

int ARegistryKeyList::Enter(const char* name) {
  if (name == nullptr) return fail(tavlib::kBadAddress);
  if (!tavlib::make_room(entries, count, capacity)) return fail(tavlib::kOutOfMemory);
  char* copy = tavlib::try_copy_text(name);
  if (copy == nullptr) return fail(tavlib::kOutOfMemory);
  entries[count++] = copy;
  return 1;
}

const char* ARegistryKeyList::Enum(unsigned index) {
  return index < count ? entries[index] : nullptr;
}

int ARegistryKeyList::Delete(const char* name) {
  if (name == nullptr) return fail(tavlib::kBadAddress);
  std::uint32_t found = count;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (!begins_with(entries[i], name)) continue;
    if (entries[i][std::strlen(name)] != '\0') return fail(tavlib::kAccessDenied);
    if (i + 1 < count && begins_with(name, entries[i + 1])) return fail(tavlib::kAccessDenied);
    found = i;
  }
  if (found == count) return fail(tavlib::kNoSuchEntry);
  std::free(entries[found]);
  std::copy(entries + found + 1, entries + count, entries + found);
  --count;
  return 1;
}

// The entries were entered in file order, which is the order to keep.
int ARegistryKeyList::Sort() {
  return entries == nullptr ? 0 : 1;
}

int ARegistryKeyList::KeySortCompare(const void* first, const void* second) {
  if (first == second) return 0;
  return std::less<>{}(first, second) ? -1 : 1;
}

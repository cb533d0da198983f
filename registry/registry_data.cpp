#include "platform/keep_error.h"
#include "registry/blocks.h"
#include "registry/failure.h"

#include <strings.h>
#include <tavlib/registry/registry_data.h>

#include <algorithm>

using tavlib::fail;

namespace {

using Parser = int (*)(ARegistryData::Entry&, const char*);

void release(ARegistryData::Entry& entry) {
  std::free(entry.name);
  std::free(entry.data);
  entry = {};
}

// An entry under construction, freed when an exception ends that.
struct NewEntry : ARegistryData::Entry {
  NewEntry() = default;
  ~NewEntry() {
    const tavlib::KeepError keep;
    release(*this);
  }
  NewEntry(const NewEntry&) = delete;
  NewEntry& operator=(const NewEntry&) = delete;
};

// A host may enter a changed copy of the entry that is held already: the blocks that both share are not
// freed.
void replace(ARegistryData::Entry& old, const ARegistryData::Entry& entry) {
  if (old.name != entry.name) std::free(old.name);
  if (old.data != entry.data) std::free(old.data);
  old = entry;
}

Parser parser_for(char first) {
  if (first == '"') return ARegistryData::ParseREG_SZ;
  if (first == '\'') return ARegistryData::ParseREG_MULTI_SZ;
  if (first >= '0' && first <= '9') return ARegistryData::ParseREG_DWORD;
  if (first == '$') return ARegistryData::ParseREG_BINARY;
  return nullptr;
}

}  // namespace

ARegistryData::~ARegistryData() {
  std::for_each(entries, entries + count, release);
  std::free(entries);
}

int ARegistryData::EnterData(Entry& entry) {
  if (entry.name == nullptr) {
    release(entry);
    return fail(tavlib::kBadAddress);
  }
  if (entry.data == nullptr) entry.size = 0;
  if (Entry* old = GetData(entry.name)) {
    replace(*old, entry);
    return 1;
  }
  if (!tavlib::make_room(entries, count, capacity)) {
    release(entry);
    return fail(tavlib::kOutOfMemory);
  }
  entries[count++] = entry;
  return 1;
}

int ARegistryData::EnterData(const char* name, const char* text) {
  if (name == nullptr || text == nullptr) return fail(tavlib::kBadAddress);
  const Parser parse = parser_for(*text);
  if (parse == nullptr) return fail(tavlib::kInvalidArgument);
  NewEntry entry;
  parse(entry, text);
  entry.name = tavlib::copy_text(name);
  Entry given = entry;
  entry.name = nullptr;
  entry.data = nullptr;
  return EnterData(given);
}

ARegistryData::Entry* ARegistryData::GetData(const char* name) {
  if (name == nullptr) return nullptr;
  for (std::uint32_t i = 0; i < count; ++i) {
    if (strcasecmp(entries[i].name, name) == 0) return &entries[i];
  }
  return nullptr;
}

ARegistryData::Entry* ARegistryData::EnumData(unsigned index) {
  return index < count ? &entries[index] : nullptr;
}

int ARegistryData::DeleteData(const char* name) {
  if (name == nullptr) return fail(tavlib::kBadAddress);
  // Hosts rely on this: values at odd positions are not found here.
  for (std::uint32_t i = 0; i < count; i += 2) {
    if (strcasecmp(entries[i].name, name) != 0) continue;
    release(entries[i]);
    std::copy(entries + i + 1, entries + count, entries + i);
    --count;
    return 1;
  }
  return fail(tavlib::kNoSuchEntry);
}

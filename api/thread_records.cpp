#include "api/thread_records.h"

#include <mutex>
#include <new>
#include <thread>

namespace tavlib {

namespace {

struct ListedRecord : TAVThreadRecord {
  std::thread::id owner{std::this_thread::get_id()};
  ListedRecord* next{nullptr};
};

// Held for a few instructions, and never while a host's code runs.
constinit std::mutex list_mutex;
constinit ListedRecord* list = nullptr;

// Removes the calling thread's record from the list. Only pointers are compared, since the record may have
// been freed; its memory may by then be another thread's record.
bool unlist(const void* record) {
  const std::lock_guard lock(list_mutex);
  for (ListedRecord** link = &list; *link != nullptr; link = &(*link)->next) {
    const bool found = static_cast<const TAVThreadRecord*>(*link) == record;
    if (!found || (*link)->owner != std::this_thread::get_id()) continue;
    *link = (*link)->next;
    return true;
  }
  return false;
}

}  // namespace

TAVThreadRecord* new_thread_record(std::uint32_t last_error) {
  auto* record = new (std::nothrow) ListedRecord{{last_error}};
  if (record == nullptr) return nullptr;
  const std::lock_guard lock(list_mutex);
  record->next = list;
  list = record;
  return record;
}

void free_thread_record(void* record) {
  if (unlist(record)) delete static_cast<ListedRecord*>(static_cast<TAVThreadRecord*>(record));
}

void free_thread_records() {
  const std::lock_guard lock(list_mutex);
  while (list != nullptr) {
    const ListedRecord* first = list;
    list = first->next;
    delete first;
  }
}

}  // namespace tavlib

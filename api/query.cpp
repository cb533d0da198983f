#include <tavlib/api/last_error.h>
#include <tavlib/api/query.h>
#include <tavlib/servers/query_enum.h>

#include <memory>
#include <new>
#include <utility>

#include "api/attached_request.h"
#include "api/process_state.h"

namespace {

// The handle of a synchronous call. Its request is removed from every table on every way out: a thread may be
// cancelled while it waits.
struct LocalHandle : TAVASYNC {
  LocalHandle() : TAVASYNC{} {}
  ~LocalHandle() { TAVASyncAbandon(this); }

  LocalHandle(const LocalHandle&) = delete;
  LocalHandle& operator=(const LocalHandle&) = delete;
};

// Waits for the request that was just started on `async`. `result` is that of the starting function.
int wait_for(TAVASYNC& async, int result) {
  if (result == 1 || TAVGetLastError() != TAV_E_PENDING) return result;
  return TAVASyncStatus(&async, 1);
}

// A request that is attached to the caller's handle while it is being started, and released when that is not
// done: a thread may be cancelled while it sends.
class StartingRequest {
 public:
  explicit StartingRequest(TAVASYNC& async) : async_(async), request_(tavlib::attach_request(async)) {}
  ~StartingRequest() {
    if (!done_) tavlib::release_request(async_);
  }

  StartingRequest(const StartingRequest&) = delete;
  StartingRequest& operator=(const StartingRequest&) = delete;

  ServerInterface::ASyncRequest* request() const { return request_; }

  int finish(unsigned status) {
    done_ = true;
    return tavlib::started(async_, status);
  }

 private:
  TAVASYNC& async_;
  ServerInterface::ASyncRequest* request_;
  bool done_{false};
};

template <typename Record>
int next_entry(TAVQueryEnum* query, Record& entry, TAVASYNC& async) {
  async.Request = nullptr;  // so that abandoning it is safe on every way out
  if (g_ServerList == nullptr) return tavlib::refuse(TAV_E_NOTINITIALISED);
  if (query == nullptr) return tavlib::refuse(TAV_E_CANCELLED);
  if (query->UsesList(g_ServerList) == 0) return tavlib::refuse(TAV_E_NOTINITIALISED);
  StartingRequest starting(async);
  return starting.finish(query->QueryNext(entry, starting.request()));
}

std::unique_ptr<TAVQueryEnum> create_enumeration(const _TAVENTRYW& filter, unsigned a1, unsigned a2,
                                                 unsigned long server, unsigned a3) {
  std::unique_ptr<TAVQueryEnum> query(new (std::nothrow)
                                          TAVQueryEnum(server, filter, a1, a2, a3, g_ServerList));
  if (query != nullptr && query->IsValid() == 0) query.reset();
  return query;
}

int hand_out(std::unique_ptr<TAVQueryEnum> created, TAVQueryEnum** query) {
  if (created == nullptr) return tavlib::refuse(TAV_E_NOMEMORY);
  *query = created.release();
  return 1;
}

template <typename Record>
int add_entry(const Record& entry) {
  if (g_ServerList == nullptr) return tavlib::refuse(TAV_E_NOTINITIALISED);
  return g_ServerList->AddEntry(entry, 0);
}

}  // namespace

int TAVQueryVersionAs(unsigned long server, unsigned* version, TAVASYNC* async) {
  async->Request = nullptr;  // so that abandoning it is safe on every way out
  if (g_ServerList == nullptr) return tavlib::refuse(TAV_E_NOTINITIALISED);
  StartingRequest starting(*async);
  return starting.finish(g_ServerList->QueryVersion(server, *version, starting.request()));
}

int TAVQueryVersion(unsigned long server, unsigned* version) {
  LocalHandle async;
  return wait_for(async, TAVQueryVersionAs(server, version, &async));
}

int TAVEnumServers(unsigned index, unsigned long* server) {
  if (g_ServerList == nullptr) return tavlib::refuse(TAV_E_NOTINITIALISED);
  const unsigned long address = g_ServerList->GetServer(index);
  if (address == 0) return tavlib::refuse(TAV_E_NOMORE);
  *server = address;
  return 1;
}

int TAVGetSocket(unsigned long server) {
  return g_ServerList == nullptr ? tavlib::refuse(TAV_E_NOTINITIALISED) : g_ServerList->GetSocket(server);
}

int TAVQueryStartW(const _TAVENTRYW* filter, unsigned a1, unsigned a2, unsigned long server, unsigned a3,
                   TAVQueryEnum** query) {
  if (g_ServerList == nullptr) return tavlib::refuse(TAV_E_NOTINITIALISED);
  return hand_out(create_enumeration(*filter, a1, a2, server, a3), query);
}

int TAVQueryStartA(const _TAVENTRYA* filter, unsigned a1, unsigned a2, unsigned long server, unsigned a3,
                   TAVQueryEnum** query) {
  if (g_ServerList == nullptr) return tavlib::refuse(TAV_E_NOTINITIALISED);
  _TAVENTRYW wide{};
  if (EntryAToW(wide, *filter) == 0) return tavlib::refuse(TAV_E_NOMEMORY);
  auto created = create_enumeration(wide, a1, a2, server, a3);
  DeMarshalFreeStrings(wide);
  return hand_out(std::move(created), query);
}

int TAVQueryNextAsW(TAVQueryEnum* query, _TAVENTRYW* entry, TAVASYNC* async) {
  return next_entry(query, *entry, *async);
}

int TAVQueryNextAsA(TAVQueryEnum* query, _TAVENTRYA* entry, TAVASYNC* async) {
  return next_entry(query, *entry, *async);
}

int TAVQueryNextW(TAVQueryEnum* query, _TAVENTRYW* entry) {
  LocalHandle async;
  return wait_for(async, TAVQueryNextAsW(query, entry, &async));
}

int TAVQueryNextA(TAVQueryEnum* query, _TAVENTRYA* entry) {
  LocalHandle async;
  return wait_for(async, TAVQueryNextAsA(query, entry, &async));
}

void TAVQueryClose(TAVQueryEnum* query) {
  delete query;
}

int TAVAddEntryA(const _TAVENTRYA* entry) {
  return add_entry(*entry);
}

int TAVAddEntryW(const _TAVENTRYW* entry) {
  return add_entry(*entry);
}

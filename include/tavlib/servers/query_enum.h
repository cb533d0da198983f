#ifndef TAVLIB_SERVERS_QUERY_ENUM_H
#define TAVLIB_SERVERS_QUERY_ENUM_H

#ifdef __cplusplus

#include <tavlib/export.h>
#include <tavlib/protocol/entry.h>
#include <tavlib/protocol/server_interface.h>

#include <cstdint>

class TAVServerInterface;
class TAVServerList;

/// One open query to one server: a sequence of requests, each of which continues after the entry that the
/// last reply brought.
///
/// - The entries that it delivers are shallow: their texts and blocks belong to the enumeration. They last
///   until its next step completes or it is destroyed.
/// - It may be destroyed while a step is in flight. The reply is then written nowhere, and its request
///   completes with TAV_E_CANCELLED.
/// - It may outlive the server's transport. A step in flight then ends without an answer, and its request
///   stays at TAV_E_PENDING.
///
/// Threads: as for that transport. Destroying an enumeration with a step in flight uses the transport, too.
class TAVLIB_API TAVQueryEnum {
 public:
  /// Copies `filter`, with `word13` set to 0. `a1`, `a2` and `a3` are sent unchanged in every request. `list`
  /// is not owned and must outlive every QueryNext.
  TAVQueryEnum(unsigned long server, const _TAVENTRYW& filter, unsigned a1, unsigned a2, unsigned a3,
               TAVServerList* list);
  virtual ~TAVQueryEnum();

  TAVQueryEnum(const TAVQueryEnum&) = delete;
  TAVQueryEnum& operator=(const TAVQueryEnum&) = delete;

  /// Starts the next step. Returns
  ///   TAV_E_PENDING        sent: `out` is filled when the answer comes and must last until then; `request`
  ///                        must last as ServerInterface requires
  ///   TAV_E_BUSY           a step is outstanding
  ///   TAV_E_UNKNOWNSERVER  the server is unknown, or the cursor does not fit a request
  ///   any other code       the transport's
  unsigned QueryNext(_TAVENTRYW& out, ServerInterface::ASyncRequest* request);
  unsigned QueryNext(_TAVENTRYA& out, ServerInterface::ASyncRequest* request);

  /// Reads the reply in the request's packet and ends the step. Returns
  ///   0               the entry was delivered to the caller's record
  ///   TAV_E_NOMORE    the reply holds no entry, or one that cannot be read; the caller's record is untouched
  ///   TAV_E_NOMEMORY  the entry could not be converted to 8-bit texts; the caller's 8-bit record then
  ///                   holds the words of the wide entry and must not be read
  unsigned QueryComplete(ServerInterface::ASyncRequest* request);
  unsigned QueryCompleteW(ServerInterface::ASyncRequest* request);
  unsigned QueryCompleteA(ServerInterface::ASyncRequest* request);

  /// 1 when the filter could be copied, else 0.
  int IsValid();

  /// 1 when the enumeration was made for `candidate` (a list or null), else 0.
  int UsesList(const TAVServerList* candidate) const;

 protected:
  void* pending{nullptr};  ///< The caller's record for the step in flight; null when idle.
  _TAVENTRYW cursor{};     ///< The filter, then the last entry received.
  _TAVENTRYA narrow{};     ///< The last entry with 8-bit texts.
  unsigned long server;
  unsigned a1, a2, a3;
  TAVServerList* list;
  int valid;
  int wide{0};          ///< 1 when the step in flight is to fill a wide record.
  unsigned listSerial;  ///< Of `list`; 0 without one.

 private:
  friend class TAVServerInterface;

  TAVLIB_HIDDEN unsigned startStep(void* out, int isWide, ServerInterface::ASyncRequest* next);
  TAVLIB_HIDDEN bool isOutstanding() const;
  TAVLIB_HIDDEN bool hasRequest() const;
  TAVLIB_HIDDEN bool isStepOf(const ServerInterface::ASyncRequest* candidate) const;
  TAVLIB_HIDDEN void enterStep(ServerInterface::ASyncRequest* sent);
  TAVLIB_HIDDEN void leaveStep();
  TAVLIB_HIDDEN void endStep();

  // The step in flight. Its transport lists the enumeration: neither keeps a pointer to the other once
  // that has ended.
  TAVServerInterface* transport{nullptr};  // Null when idle.
  ServerInterface::ASyncRequest* request{nullptr};
  std::uint32_t requestId{0};
  TAVQueryEnum* nextStep{nullptr};
  TAVQueryEnum** previousStep{nullptr};
};

#endif

#endif

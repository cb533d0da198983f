#ifndef TAVLIB_SERVERS_QUERY_ENUM_H
#define TAVLIB_SERVERS_QUERY_ENUM_H

#ifdef __cplusplus

#include <tavlib/export.h>
#include <tavlib/protocol/entry.h>
#include <tavlib/protocol/server_interface.h>

#include <cstdint>

class TAVServerInterface;
class TAVServerList;

/// One open query to one server: a sequence of requests, each continuing after the entry that the last reply
/// brought.
///
/// Entries given out are shallow: their texts belong to the enumeration and last until its next step
/// completes or it is destroyed. Destroying it while a step is in flight is safe: the reply then writes
/// nowhere, and its request completes with TAV_E_CANCELLED. An enumeration may outlive the server's
/// transport; a step in flight then ends without an answer, its request staying at TAV_E_PENDING. Thread
/// rules as for that transport.
class TAVLIB_API TAVQueryEnum {
 public:
  /// Copies `filter`, with `word13` set to 0. `a1`, `a2` and `a3` travel unchanged in every request;
  /// `list` is not owned and must outlive every QueryNext.
  TAVQueryEnum(unsigned long server, const _TAVENTRYW& filter, unsigned a1, unsigned a2, unsigned a3,
               TAVServerList* list);
  virtual ~TAVQueryEnum();

  TAVQueryEnum(const TAVQueryEnum&) = delete;
  TAVQueryEnum& operator=(const TAVQueryEnum&) = delete;

  /// Starts the next step. The result is
  ///   TAV_E_PENDING        when it was sent: `out` is filled when the answer comes and must last until then,
  ///                        and `request` as long as ServerInterface asks for,
  ///   TAV_E_BUSY           while a step is outstanding,
  ///   TAV_E_UNKNOWNSERVER  when the server is unknown or the cursor does not fit a request,
  /// or else the transport's code.
  unsigned QueryNext(_TAVENTRYW& out, ServerInterface::ASyncRequest* request);
  unsigned QueryNext(_TAVENTRYA& out, ServerInterface::ASyncRequest* request);

  /// Takes the reply in the request's packet and ends the step: 0 with the entry delivered, TAV_E_NOMORE when
  /// there is none (the caller's record is untouched), TAV_E_NOMEMORY when it could not be converted to 8-bit
  /// texts. After the last the caller's 8-bit record must not be read: it holds the wide entry's words.
  unsigned QueryComplete(ServerInterface::ASyncRequest* request);
  unsigned QueryCompleteW(ServerInterface::ASyncRequest* request);
  unsigned QueryCompleteA(ServerInterface::ASyncRequest* request);

  /// 1 when the filter could be copied.
  int IsValid();

  /// 1 when the enumeration was made for `candidate`, which is a list or null.
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
  TAVLIB_HIDDEN void enterStep(ServerInterface::ASyncRequest* sent);
  TAVLIB_HIDDEN void leaveStep();
  TAVLIB_HIDDEN void endStep();

  // The step in flight. Its transport knows of the enumeration, so that neither outlives the other's pointer.
  TAVServerInterface* transport{nullptr};  // Null when idle.
  ServerInterface::ASyncRequest* request{nullptr};
  std::uint32_t requestId{0};
  TAVQueryEnum* nextStep{nullptr};
  TAVQueryEnum** previousStep{nullptr};
};

#endif

#endif

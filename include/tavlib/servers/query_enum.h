#ifndef TAVLIB_SERVERS_QUERY_ENUM_H
#define TAVLIB_SERVERS_QUERY_ENUM_H

#ifdef __cplusplus

#include <tavlib/export.h>
#include <tavlib/protocol/entry.h>
#include <tavlib/protocol/server_interface.h>

class TAVServerList;

/// One open query to one server: a sequence of requests, each continuing after the entry that the last reply
/// brought.
///
/// Entries given out are shallow: their texts belong to the enumeration and last until its next step
/// completes or it is destroyed. Destroying it while a step is in flight is safe: the reply then writes
/// nowhere and settles its request with 17. Thread rules as for the server's transport.
class TAVLIB_API TAVQueryEnum {
 public:
  /// Copies `filter`, whose `word13` counts as 0. `a1`, `a2` and `a3` travel unchanged in every request;
  /// `list` is not owned and must outlive every QueryNext.
  TAVQueryEnum(unsigned long server, const _TAVENTRYW& filter, unsigned a1, unsigned a2, unsigned a3,
               TAVServerList* list);
  virtual ~TAVQueryEnum();

  TAVQueryEnum(const TAVQueryEnum&) = delete;
  TAVQueryEnum& operator=(const TAVQueryEnum&) = delete;

  /// Starts the next step. 14 when sent: `out` is filled when the answer comes and must last until then, and
  /// `request` as long as ServerInterface asks for. 15 while a step is outstanding; 11 when the server is
  /// unknown or the cursor does not fit a request; else the transport's code.
  unsigned QueryNext(_TAVENTRYW& out, ServerInterface::ASyncRequest* request);
  unsigned QueryNext(_TAVENTRYA& out, ServerInterface::ASyncRequest* request);

  /// Takes the reply in the request's packet and ends the step: 0 with the entry delivered, 6 when there is
  /// none (the caller's record is untouched), 9 when it could not be converted to 8-bit texts.
  unsigned QueryComplete(ServerInterface::ASyncRequest* request);
  unsigned QueryCompleteW(ServerInterface::ASyncRequest* request);
  unsigned QueryCompleteA(ServerInterface::ASyncRequest* request);

  /// 1 when the filter could be copied.
  int IsValid();

  /// Ends the step of `request` without an answer, if it is the one in flight.
  void EndStep(ServerInterface::ASyncRequest* request);

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
  int wide{0};                                      ///< 1 when the step in flight is to fill a wide record.
  ServerInterface::ASyncRequest* request{nullptr};  ///< Of the step in flight; null when idle.
  unsigned listSerial;                              ///< Of `list`; 0 without one.

 private:
  unsigned startStep(void* out, int isWide, ServerInterface::ASyncRequest* next);
};

#endif

#endif

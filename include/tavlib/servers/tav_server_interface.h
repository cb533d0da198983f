#ifndef TAVLIB_SERVERS_TAV_SERVER_INTERFACE_H
#define TAVLIB_SERVERS_TAV_SERVER_INTERFACE_H

#ifdef __cplusplus

#include <tavlib/export.h>
#include <tavlib/protocol/entry.h>
#include <tavlib/protocol/server_interface.h>

#include <cstdint>

/// One configured TAV server: the transport to it, the operations as requests, and whether it is local and
/// believed reachable. Results are status codes (tavlib/error_numbers.h). Thread rules as for
/// ServerInterface.
class TAVLIB_API TAVServerInterface : public ServerInterface {
 public:
  /// `address` in network byte order, `port` in host byte order; `isLocal` is 1 for a server on this host.
  TAVServerInterface(unsigned long address, unsigned short port, const char* secret, int isLocal);
  ~TAVServerInterface() override;

  /// Starts a version request: 14 when sent. `version` is filled when the answer comes and must last until
  /// then.
  unsigned QueryVersion(unsigned& version, ASyncRequest* request);

  /// Stores the reply's version word through the request's `context`. Always 0.
  static unsigned QueryVersionComplete(TAVServerInterface* server, ASyncRequest* request);

  /// Adds an entry and waits for the answer: 0, 11 when the entry does not fit, or the transport's code,
  /// which also marks the server as down.
  unsigned AddEntry(const _TAVENTRYA& entry);
  unsigned AddEntry(const _TAVENTRYW& entry);

  /// Starts an entry query with three argument words and a filter: 14 when sent, 11 when the filter does not
  /// fit. The request's `context` must be the TAVQueryEnum that takes the reply.
  unsigned QueryEntry(unsigned a1, unsigned a2, unsigned a3, const _TAVENTRYW& entry, ASyncRequest* request);

  /// Hands the reply to the enumeration in the request's `context`; 17 when that was destroyed meanwhile.
  static unsigned QueryComplete(TAVServerInterface* server, ASyncRequest* request);

  /// Asks the server to listen on `port` (host byte order), or to stop, and waits for the answer.
  unsigned Listen(unsigned short port);
  unsigned ListenStop();

  /// Whether the server is believed reachable (as at first; any thread may ask and set it), and whether it is
  /// on this host.
  void SetCommDown();
  void SetCommUp();
  int IsCommUp();
  int IsLocal();

  /// The pass phrase, at most its first 16 characters, always terminated; owned by the interface.
  const char* GetSecret();

  /// The enumeration that awaits the request's reply; null when none does.
  static class TAVQueryEnum* EnumerationOf(const ASyncRequest* request);

  /// Tells the enumeration that awaits the request's reply, if any, that none will come.
  static void EndRequest(ASyncRequest* request);

  /// Marks a started entry query as a look-up of the single-sign-on layer, and tells whether a request is
  /// one. The mark stays until the request ends.
  static void MarkLookup(ASyncRequest* request);
  static bool IsLookup(const ASyncRequest* request);

 protected:
  std::uint32_t local;
  std::uint32_t commUp{1};

 private:
  template <typename Record>
  unsigned addEntry(const Record& entry);
};

#endif

#endif

#ifndef TAVLIB_SERVERS_TAV_SERVER_INTERFACE_H
#define TAVLIB_SERVERS_TAV_SERVER_INTERFACE_H

#ifdef __cplusplus

#include <tavlib/export.h>
#include <tavlib/protocol/entry.h>
#include <tavlib/protocol/server_interface.h>

#include <cstdint>

class TAVQueryEnum;

/// One configured TAV server: the transport to it, the operations as requests, and whether it is local and
/// believed reachable.
///
/// Results are status codes (tavlib/error_numbers.h).
///
/// Threads: as for ServerInterface.
class TAVLIB_API TAVServerInterface : public ServerInterface {
 public:
  /// `address` in network byte order, `port` in host byte order; `isLocal` is 1 for a server on this host.
  TAVServerInterface(unsigned long address, unsigned short port, const char* secret, int isLocal);

  /// As ~ServerInterface. Enumerations with a step in flight become idle, and may outlive the transport.
  ~TAVServerInterface() override;

  /// Starts a version request. TAV_E_PENDING when sent, otherwise the transport's code. `version` is filled
  /// when the answer comes and must last until then.
  unsigned QueryVersion(unsigned& version, ASyncRequest* request);

  /// Stores the reply's version word through the request's `context`. Always 0.
  static unsigned QueryVersionComplete(TAVServerInterface* server, ASyncRequest* request);

  /// Adds an entry and waits for the answer. Returns
  ///   0                    added
  ///   TAV_E_UNKNOWNSERVER  the entry does not fit a request
  ///   any other code       the transport's; the server is then marked as down
  unsigned AddEntry(const _TAVENTRYA& entry);
  unsigned AddEntry(const _TAVENTRYW& entry);

  /// Starts an entry query with three argument words and a filter. Returns
  ///   TAV_E_PENDING        sent
  ///   TAV_E_UNKNOWNSERVER  the filter does not fit a request
  ///   any other code       the transport's
  ///
  /// The request's `context` must be the TAVQueryEnum to which the reply belongs, or null for none. It is
  /// followed when the reply comes and at no other time.
  unsigned QueryEntry(unsigned a1, unsigned a2, unsigned a3, const _TAVENTRYW& entry, ASyncRequest* request);

  /// Completes the step of the enumeration in the request's `context`, and returns its result. Without an
  /// enumeration (its step has ended, or it was destroyed) the result is
  ///   TAV_E_SERVERERROR  for a request to which an error reply came earlier
  ///   TAV_E_CANCELLED    for any other
  static unsigned QueryComplete(TAVServerInterface* server, ASyncRequest* request);

  /// Asks the server to listen on `port` (host byte order), or to stop, and waits for the answer. 0, or the
  /// transport's code.
  unsigned Listen(unsigned short port);
  unsigned ListenStop();

  /// IsCommUp: whether the server is believed reachable, as it is at first. Any thread may read and set this.
  /// IsLocal: whether it is on this host. IsCommUp returns 1 or 0, IsLocal the number given as `isLocal`.
  void SetCommDown();
  void SetCommUp();
  int IsCommUp();
  int IsLocal();

  /// The pass phrase, at most its first 16 characters, always terminated; owned by the interface.
  const char* GetSecret();

 protected:
  std::uint32_t local;
  std::uint32_t commUp{1};

 private:
  friend class TAVQueryEnum;

  template <typename Record>
  TAVLIB_HIDDEN unsigned addEntry(const Record& entry);

  TAVLIB_HIDDEN static void endStepOf(ServerInterface& transport, ASyncRequest* request);

  // The enumerations with a step in flight, in the order in which the steps began, and where the next one goes.
  TAVQueryEnum* steps{nullptr};
  TAVQueryEnum** stepsEnd{&steps};
};

#endif

#endif

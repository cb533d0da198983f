#ifndef TAVLIB_PROTOCOL_SERVER_INTERFACE_H
#define TAVLIB_PROTOCOL_SERVER_INTERFACE_H

#ifdef __cplusplus

#include <tavlib/error_numbers.h>
#include <tavlib/export.h>
#include <tavlib/protocol/blowfish.h>
#include <tavlib/protocol/packet.h>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <vector>

/// The UDP transport to one TAV server: seals and sends request packets, and matches replies to them by
/// request id.
///
/// Memory: requests are never owned here. A request must stay in memory until its final reply was read or it
/// was abandoned; one with a `handle`, until it was forgotten. An error reply is not the final one.
///
/// A request serves one exchange at a time. A request that is started again, here or on another transport,
/// first leaves the exchange to which it still belongs (after an error reply, for example): a late reply to
/// that exchange is dropped.
///
/// Threads: no lock is taken. One thread at a time may use one transport. A thread that starts a request
/// again must be one that may use the transport of the earlier exchange, too. Where that one was destroyed and
/// other threads make transports, which may come to lie in its place, set the request's `owner` to null first.
class TAVLIB_API ServerInterface {
 public:
  /// One request, owned by whoever made it.
  struct ASyncRequest {
    /// The owner's own pointer, never followed by the transport. CompleteFor keeps only requests that have
    /// one. Null in a request that a host starts itself on a server of TAVInitialize's list: the exported
    /// functions take any other there for a TAVASYNC of theirs.
    void* handle{nullptr};
    void* context{nullptr};  ///< For the completion routine.
    /// Called once a verified final reply is in `packet`; its result becomes `status`. May be null.
    unsigned (*completion)(ServerInterface*, ASyncRequest*){nullptr};
    std::uint32_t registeredId{0};    ///< The id under which the request was sent; 0 until then.
    _TAVPACKET packet{};              ///< The request; replaced by its reply.
    ServerInterface* owner{nullptr};  ///< The transport that sent it last; null until then.
    std::uint32_t status{0};          ///< A status code (tavlib/error_numbers.h); 0 when answered.
  };

  /// Opens a UDP socket for the server at `address` (network byte order) and `port` (host byte order), and
  /// prepares the key from `secret` (its first 16 characters; null is empty).
  ///
  /// Neither bind nor connect is called. The socket asks for a receive buffer of 1 MiB and uses what the
  /// system grants. Without socket or memory the transport is not valid, and every request on it fails with
  /// TAV_E_SENDFAILED.
  ServerInterface(unsigned long address, unsigned short port, const char* secret);

  /// Closes the socket. Requests in flight stay at status TAV_E_PENDING. They are not touched: their memory
  /// may already have been freed.
  virtual ~ServerInterface();

  ServerInterface(const ServerInterface&) = delete;
  ServerInterface& operator=(const ServerInterface&) = delete;

  /// 1 when the transport can send, else 0.
  virtual int IsValid();

  /// Gives the request's packet a new id, seals it and sends it. Returns
  ///   TAV_E_PENDING     sent
  ///   TAV_E_NOMEMORY    memory ran out
  ///   TAV_E_TOOBIG      the packet's length word is above 4096
  ///   TAV_E_SENDFAILED  the datagram was not sent whole; `errno` has the reason
  /// Only a request that was sent is registered. `status` becomes TAV_E_PENDING in each of these cases. A
  /// packet whose length word is below 100 is sent without a digest.
  ///
  /// A transport that is not valid returns TAV_E_SENDFAILED without setting `errno`, and leaves the request
  /// as it was.
  unsigned StartRequest(ASyncRequest* request);

  /// Reads one datagram, without waiting, and returns the request to which it belongs. The request's `status`
  /// is then
  ///   TAV_E_PENDING      after an interim reply
  ///   TAV_E_SERVERERROR  after an error reply; the request stays registered, since a final reply may follow
  ///   TAV_E_BADPACKET    after a final reply with a wrong digest
  ///   any other          what the completion routine returned; 0 without a routine
  ///
  /// Returns null when there was no datagram, or when it was dropped: too short, not a reply, or for none of
  /// the registered requests. Any sender is accepted.
  ASyncRequest* CompleteRequest();

  /// Abandons a registered request: its status becomes TAV_E_CANCELLED, and a late reply is dropped. A
  /// request that is not registered stays as it is. `context` is never followed. Always 0.
  unsigned AbandonRequest(ASyncRequest* request);

  /// Sends the first `size` bytes of `packet` and waits for the reply. Returns the final status:
  ///   0                  answered: the reply replaces `packet` (at most `size` bytes)
  ///   TAV_E_SERVERERROR  an error reply came
  ///   TAV_E_BADPACKET    the reply's digest is wrong; the reply replaces `packet` as above
  ///   TAV_E_ABANDONED    no final answer came, or the wait failed
  ///   TAV_E_NOMEMORY, TAV_E_SENDFAILED
  ///                      not sent, as for StartRequest
  ///   TAV_E_TOOBIG       not sent: `size` or the length word is above 4096
  ///
  /// After an error reply, and after a wait that brought no datagram or failed, `packet` is the request as it
  /// was sent. When time ran out between two waits, and when nothing was sent, `packet` stays as it was.
  ///
  /// `timeout`, in milliseconds, is that of each wait but the first, which is 15 seconds. After 14999
  /// milliseconds no further wait begins.
  unsigned TransactServer(_TAVPACKET* packet, unsigned size, unsigned timeout);

  /// The request's `status`.
  unsigned StatusRequest(const ASyncRequest* request);

  /// The socket, owned by the transport; -1 without one.
  int GetSocket();

  /// The server's address, in network byte order.
  unsigned long GetAddress();

  // For the layers above, in which many waiting callers share the socket.

  /// As CompleteRequest, on behalf of the owner of `waiting`. When the datagram completes another request,
  /// one that has a `handle`, that request is kept for TakeSettled: its result can still be returned to its
  /// owner.
  void CompleteFor(const ASyncRequest* waiting);

  /// Returns the oldest kept request for which `wanted` returns true, and keeps it no longer. Null when there
  /// is none.
  ASyncRequest* TakeSettled(bool (*wanted)(const ASyncRequest*));

  /// Keeps a completed request for TakeSettled.
  void KeepSettled(ASyncRequest* request);

  /// Removes the request from the tables of requests in flight and of requests kept: its memory may then be
  /// freed. A late reply is dropped. `context` is never followed.
  void Forget(ASyncRequest* request);

 protected:
  /// Ends the exchange to which a request still belongs, on whichever transport that is. Does nothing when
  /// the request was never sent, its exchange has ended, or that transport was destroyed.
  TAVLIB_HIDDEN static void EndExchange(ASyncRequest* request);

  /// Whether this very request is in flight under `id`. The request is not touched: its memory may have been
  /// freed.
  TAVLIB_HIDDEN bool IsRegistered(unsigned id, const ASyncRequest* request) const;

  /// Called for a request that leaves the table without its completion routine being called.
  using EndObserver = void (*)(ServerInterface& transport, ASyncRequest* request);

  unsigned long address;
  unsigned short port;                         ///< Network byte order.
  std::array<unsigned char, 17> keyBuffer{};   ///< 16 bytes of key and a terminator, which is always 0.
  std::unique_ptr<CBlowfish> cipher;           ///< Null when construction failed.
  int socket;                                  ///< -1 when none.
  std::map<unsigned, ASyncRequest*> requests;  ///< In flight, by request id.
  std::vector<ASyncRequest*> settled;          ///< Completed, results not yet returned; oldest first.
  EndObserver ended{nullptr};

 private:
  friend class TAVQueryEnum;

  TAVLIB_HIDDEN static bool isLive(const ServerInterface* transport);
  TAVLIB_HIDDEN void enterLive();
  TAVLIB_HIDDEN void leaveLive();
  TAVLIB_HIDDEN bool registerRequest(unsigned id, ASyncRequest* request);
  TAVLIB_HIDDEN unsigned sendSealed(const _TAVPACKET& packet);
  TAVLIB_HIDDEN unsigned awaitReply(const ASyncRequest& request, unsigned timeout, bool& wantsCopy);
  TAVLIB_HIDDEN void settle(ASyncRequest* request, _TAVPACKET& reply);

  ServerInterface* nextLive{nullptr};  ///< In the process's list of transports.
};

#endif

#endif

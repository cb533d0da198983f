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

/// The UDP transport to one TAV server: seals and sends request packets and matches the replies to them by
/// request id.
///
/// It takes no lock: one thread at a time may use one transport. Requests are never owned here; a request
/// must stay in memory until its final reply was read or it was abandoned, and one with a `handle` until it
/// was forgotten. An error reply is not the final one.
///
/// A request serves one exchange at a time. One that is started again, here or on another transport, first
/// leaves the exchange to which it still belongs (after an error reply, say): a late reply to that is
/// dropped. The thread that starts it must then be one that may use the other transport, too.
class TAVLIB_API ServerInterface {
 public:
  /// One request, owned by whoever made it.
  struct ASyncRequest {
    /// The owner's back pointer, never followed by the transport. CompleteFor keeps only requests with one.
    void* handle{nullptr};
    void* context{nullptr};  ///< For the completion routine.
    /// Run once a verified final reply is in `packet`; its result becomes `status`. May be null.
    unsigned (*completion)(ServerInterface*, ASyncRequest*){nullptr};
    std::uint32_t registeredId{0};    ///< The id under which the request was sent; 0 until then.
    _TAVPACKET packet{};              ///< The request; replaced by its reply.
    ServerInterface* owner{nullptr};  ///< The transport that sent it; set when it was sent.
    std::uint32_t status{0};          ///< A status code (tavlib/error_numbers.h); 0 when answered.
  };

  /// Opens a UDP socket for the server at `address` (network byte order) and `port` (host byte order) and
  /// prepares the key from `secret` (its first 16 characters; null is empty). Neither bind nor connect is
  /// called. The socket asks for a receive buffer of 1 MiB and takes what the system grants. Without socket
  /// or memory the transport is not valid, and every request on it fails with TAV_E_SENDFAILED.
  ServerInterface(unsigned long address, unsigned short port, const char* secret);

  /// Closes the socket. Requests still in flight stay as they are, at status TAV_E_PENDING; they are not
  /// touched, so their memory may have ended before.
  virtual ~ServerInterface();

  ServerInterface(const ServerInterface&) = delete;
  ServerInterface& operator=(const ServerInterface&) = delete;

  /// 1 when the transport can send, else 0.
  virtual int IsValid();

  /// Gives the request's packet a new id, seals it and sends it. The result is TAV_E_PENDING when it was
  /// sent; otherwise nothing is registered and the result is
  ///   TAV_E_NOMEMORY    when memory runs out,
  ///   TAV_E_TOOBIG      when the packet's length word is above 4096,
  ///   TAV_E_SENDFAILED  when the datagram was not sent whole; `errno` has the reason.
  /// `status` becomes TAV_E_PENDING in each of these cases. A packet whose length word is below 100 is sent
  /// without a digest. A transport that is not valid returns TAV_E_SENDFAILED without setting `errno`, and
  /// leaves the request as it was.
  unsigned StartRequest(ASyncRequest* request);

  /// Reads one datagram, without waiting for one, and returns the request to which it belonged. `status` is
  /// then
  ///   TAV_E_PENDING      after an interim reply,
  ///   TAV_E_SERVERERROR  after an error reply (the request stays registered: a final reply may still
  ///   follow), TAV_E_BADPACKET    after a final reply with a wrong digest,
  /// and otherwise what the completion routine returned (0 without one). Null when there was no datagram, or
  /// when it was dropped: too short, not a reply, or for none of the registered requests. Any sender is
  /// accepted.
  ASyncRequest* CompleteRequest();

  /// Abandons a registered request: its status becomes TAV_E_CANCELLED and a late reply is dropped. A request
  /// that is not registered is left alone. `context` is never followed. Always 0.
  unsigned AbandonRequest(ASyncRequest* request);

  /// Sends the first `size` bytes of `packet` and waits for the reply, which replaces it (at most `size`
  /// bytes); after an error reply or a wait that brought nothing `packet` is the request as it was sent, and
  /// when patience ran out it stays as it was. `timeout` is in milliseconds and holds from the second wait
  /// on; the first lasts 15 seconds, and after 14999 milliseconds no further wait begins. The final status; 4
  /// when no final answer came or the wait failed; 9, 10 (`size` or the length word above 4096) or 12 when it
  /// could not be sent.
  unsigned TransactServer(_TAVPACKET* packet, unsigned size, unsigned timeout);

  /// The request's `status`.
  unsigned StatusRequest(const ASyncRequest* request);

  /// The socket, owned by the transport; -1 without one.
  int GetSocket();

  /// The server's address, in network byte order.
  unsigned long GetAddress();

  // For the layers above, which share the socket between many waiting callers.

  /// As CompleteRequest on behalf of the owner of `waiting`: when the datagram settles another request that
  /// has a `handle`, that request is kept for TakeSettled, so that its owner can still be told.
  void CompleteFor(const ASyncRequest* waiting);

  /// The oldest kept request for which `wanted` returns true, which is then kept no longer; null when there
  /// is none.
  ASyncRequest* TakeSettled(bool (*wanted)(const ASyncRequest*));

  /// Keeps a settled request for TakeSettled.
  void KeepSettled(ASyncRequest* request);

  /// Removes the request from the tables of requests in flight and of requests kept, so that its memory may
  /// end. A late reply is dropped. `context` is never followed.
  void Forget(ASyncRequest* request);

 protected:
  /// Ends the exchange to which a request still belongs, on whichever transport that is. Nothing happens when
  /// it was never sent, its exchange has ended, or that transport was destroyed.
  TAVLIB_HIDDEN static void EndExchange(ASyncRequest* request);

  /// Whether this very request is in flight under `id`. The request is not touched: it may have ended.
  TAVLIB_HIDDEN bool IsRegistered(unsigned id, const ASyncRequest* request) const;

  unsigned long address;
  unsigned short port;                         ///< Network byte order.
  std::array<unsigned char, 17> keyBuffer{};   ///< 16 bytes of key and a terminator, which is always 0.
  std::unique_ptr<CBlowfish> cipher;           ///< Null when construction failed.
  int socket;                                  ///< -1 when none.
  std::map<unsigned, ASyncRequest*> requests;  ///< In flight, by request id.
  std::vector<ASyncRequest*> settled;          ///< Settled, their owners not told yet; oldest first.

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

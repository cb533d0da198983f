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
/// was forgotten. An error reply is not the final one. A request serves one exchange at a time.
class TAVLIB_API ServerInterface {
 public:
  /// One request, owned by whoever made it.
  struct ASyncRequest {
    void* handle{nullptr};   ///< The owner's back pointer; not used by the transport.
    void* context{nullptr};  ///< For the completion routine.
    /// Run once a verified final reply is in `packet`; its result becomes `status`. May be null.
    unsigned (*completion)(ServerInterface*, ASyncRequest*){nullptr};
    std::uint32_t registeredId{0};    ///< The id under which the request was sent; 0 until then.
    _TAVPACKET packet{};              ///< The request; replaced by its reply.
    ServerInterface* owner{nullptr};  ///< The transport that sent it; set when it was sent.
    std::uint32_t status{0};          ///< A status code (tavlib/error_numbers.h); 0 when answered.
  };

  /// Opens a UDP socket for the server at `address` (network byte order) and `port` (host byte order) and
  /// prepares the key from `secret` (at most 16 characters count; null is empty). Neither bind nor connect is
  /// called. Without socket or memory the transport is not valid, and every request on it fails with 12.
  ServerInterface(unsigned long address, unsigned short port, const char* secret);

  /// Closes the socket. Requests still in flight stay as they are, at status 14.
  virtual ~ServerInterface();

  ServerInterface(const ServerInterface&) = delete;
  ServerInterface& operator=(const ServerInterface&) = delete;

  /// 1 when the transport can send, else 0.
  virtual int IsValid();

  /// Gives the request's packet a new id, seals it and sends it. 14 when it was sent; else nothing is
  /// registered and the result is 9 (no memory), 10 (length word above 4096) or 12 (not sent whole; `errno`
  /// tells why). A length word below 100 goes out without a digest. `status` is 14 in either case; only a
  /// transport that is not valid answers 12 and leaves the request as it was.
  unsigned StartRequest(ASyncRequest* request);

  /// Reads one datagram, without waiting for one. Returns the request to which it belonged: `status` is then
  /// 14 after an interim reply, 2 after an error reply (the request stays registered: a final reply may still
  /// follow), 13 after a final reply with a wrong digest, and otherwise what the completion routine returned
  /// (0 without one). Null when nothing was there or the datagram was dropped: short, no reply, or no request
  /// of ours. Any sender is accepted.
  ASyncRequest* CompleteRequest();

  /// Gives a registered request up: status 17, and a late reply is dropped. A request that is not registered
  /// is left alone. Always 0.
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

  /// Removes every trace of the request, so that its memory may end. A late reply is dropped.
  void Forget(ASyncRequest* request);

  /// The first request, in flight by id or else kept, for which `wanted(request)` is true; null when there is
  /// none.
  template <typename Wanted>
  ASyncRequest* FindRequest(Wanted wanted) const {
    for (const auto& [id, request] : requests) {
      if (wanted(request)) return request;
    }
    for (ASyncRequest* request : settled) {
      if (wanted(request)) return request;
    }
    return nullptr;
  }

 protected:
  /// Called for a request that ends without its completion routine: wrong digest, abandoned, forgotten.
  using EndObserver = void (*)(ASyncRequest*);

  unsigned long address;
  unsigned short port;                         ///< Network byte order.
  std::array<unsigned char, 17> keyBuffer{};   ///< 16 bytes of key and a terminator, which is always 0.
  std::unique_ptr<CBlowfish> cipher;           ///< Null when construction failed.
  int socket;                                  ///< -1 when none.
  std::map<unsigned, ASyncRequest*> requests;  ///< In flight, by request id.
  std::vector<ASyncRequest*> settled;          ///< Settled, their owners not told yet; oldest first.
  EndObserver ended{nullptr};

 private:
  bool registerRequest(unsigned id, ASyncRequest* request);
  unsigned sendSealed(const _TAVPACKET& packet);
  unsigned awaitReply(const ASyncRequest& request, unsigned timeout, bool& wantsCopy);
  void settle(ASyncRequest* request, _TAVPACKET& reply);
  void remove(ASyncRequest* request);
};

#endif

#endif

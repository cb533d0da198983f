#include <netinet/in.h>
#include <sys/socket.h>
#include <tavlib/protocol/server_interface.h>

#include <new>

#include "platform/byte_order.h"
#include "platform/keep_error.h"
#include "platform/quiet_memory.h"
#include "protocol/packet_view.h"
#include "protocol/request_ids.h"

namespace {

constexpr unsigned kLengthPrefix = 4;

using Requests = std::map<unsigned, ServerInterface::ASyncRequest*>;

// A request's place in the table, removed on every way out but that of a request that was sent: sendto may
// fail, and a thread may be cancelled in it.
class Registration {
 public:
  Registration(Requests& requests, unsigned id) : requests_(requests), id_(id) {}
  ~Registration() {
    if (kept_) return;
    const tavlib::KeepError keep;
    requests_.erase(id_);
  }

  Registration(const Registration&) = delete;
  Registration& operator=(const Registration&) = delete;

  void keep() { kept_ = true; }

 private:
  Requests& requests_;
  unsigned id_;
  bool kept_{false};
};

}  // namespace

unsigned ServerInterface::StartRequest(ASyncRequest* request) {
  EndExchange(request);
  if (IsValid() == 0) return TAV_E_SENDFAILED;
  request->status = TAV_E_PENDING;
  request->registeredId = 0;
  if (tavlib::length_of(request->packet) > tavlib::kPacketSize) return TAV_E_TOOBIG;

  const unsigned id = tavlib::next_request_id();
  tavlib::store_be32(request->packet.requestId, id);
  MakeMd5Sum(&request->packet, keyBuffer.data());
  if (!registerRequest(id, request)) return TAV_E_NOMEMORY;

  Registration registration(requests, id);
  const unsigned status = sendSealed(request->packet);
  if (status != TAV_E_PENDING) return status;
  registration.keep();
  request->owner = this;
  request->registeredId = id;
  return status;
}

// Also reserves the room in which the completed request can be kept, so that receiving allocates nothing.
bool ServerInterface::registerRequest(unsigned id, ASyncRequest* request) {
  try {
    requests[id] = request;
    const std::size_t room = requests.size() + settled.size();
    if (room > settled.capacity()) settled.reserve(2 * room);
    return true;
  } catch (const std::bad_alloc&) {
    requests.erase(id);
    return false;
  }
}

// Enciphers a digested packet and sends it, framed by the cipher text's length.
unsigned ServerInterface::sendSealed(const _TAVPACKET& packet) {
  const unsigned length = tavlib::length_of(packet);
  const unsigned cipherLength = cipher->getRequiredCipherLength(length);
  const std::size_t size = cipherLength + kLengthPrefix;
  const tavlib::QuietPtr<unsigned char[]> datagram(new (std::nothrow) unsigned char[size]);
  if (datagram == nullptr) return TAV_E_NOMEMORY;

  tavlib::store_be32(datagram.get(), cipherLength);
  cipher->encryptString(reinterpret_cast<const unsigned char*>(&packet), length,
                        datagram.get() + kLengthPrefix, cipherLength);

  sockaddr_in server{};
  server.sin_family = AF_INET;
  server.sin_port = port;
  server.sin_addr.s_addr = static_cast<in_addr_t>(address);
  const ssize_t sent =
      sendto(socket, datagram.get(), size, 0, reinterpret_cast<const sockaddr*>(&server), sizeof server);
  return sent == static_cast<ssize_t>(size) ? TAV_E_PENDING : TAV_E_SENDFAILED;
}

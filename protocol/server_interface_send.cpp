#include <netinet/in.h>
#include <sys/socket.h>
#include <tavlib/platform/error_state.h>
#include <tavlib/protocol/server_interface.h>

#include <memory>
#include <new>

#include "platform/byte_order.h"
#include "protocol/packet_view.h"
#include "protocol/request_ids.h"

namespace {

constexpr unsigned kLengthPrefix = 4;

}  // namespace

unsigned ServerInterface::StartRequest(ASyncRequest* request) {
  if (IsValid() == 0) return TAV_E_SENDFAILED;
  remove(request);  // a request that is sent again must not stay under its old id
  request->status = TAV_E_PENDING;
  request->registeredId = 0;
  if (tavlib::length_of(request->packet) > tavlib::kPacketSize) return TAV_E_TOOBIG;

  const unsigned id = tavlib::next_request_id();
  tavlib::store_be32(request->packet.requestId, id);
  MakeMd5Sum(&request->packet, keyBuffer.data());
  if (!registerRequest(id, request)) return TAV_E_NOMEMORY;

  const unsigned status = sendSealed(request->packet);
  if (status == TAV_E_PENDING) {
    request->owner = this;
    request->registeredId = id;
  } else {
    const unsigned osError = AErrors::GetOsError();
    requests.erase(id);
    AErrors::SetOsError(osError);
  }
  return status;
}

// Also makes the room in which the request can be kept once settled, so that the receive path allocates
// nothing.
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
  std::unique_ptr<unsigned char[]> datagram(new (std::nothrow) unsigned char[size]);
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
  const unsigned osError = AErrors::GetOsError();
  datagram.reset();
  AErrors::SetOsError(osError);
  return sent == static_cast<ssize_t>(size) ? TAV_E_PENDING : TAV_E_SENDFAILED;
}

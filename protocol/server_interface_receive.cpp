#include <netinet/in.h>
#include <sys/socket.h>
#include <tavlib/protocol/server_interface.h>

#include <cstring>

#include "platform/byte_order.h"
#include "protocol/packet_view.h"
#include "protocol/shared_socket.h"

namespace {

constexpr ssize_t kReplyHeaderSize = 12;

// Reads one datagram into `packet`. False when there was none, or when it is shorter than a reply's header or
// than its length word says: no byte that did not arrive is ever read.
// The read never waits: a socket that was readable may have nothing left, because another thread or process
// read it or its checksum was wrong.
bool receive_packet(int socket, _TAVPACKET& packet) {
  sockaddr_in sender{};
  socklen_t senderSize = sizeof sender;
  const ssize_t received = recvfrom(socket, &packet, sizeof packet, MSG_DONTWAIT,
                                    reinterpret_cast<sockaddr*>(&sender), &senderSize);
  return received >= kReplyHeaderSize && static_cast<std::size_t>(received) >= tavlib::length_of(packet);
}

bool has_flag(const _TAVPACKET& reply, unsigned flag) {
  return (reply.code & flag) != 0;
}

}  // namespace

ServerInterface::ASyncRequest* ServerInterface::CompleteRequest() {
  _TAVPACKET reply;  // NOLINT(cppcoreguidelines-pro-type-member-init): only what arrived is read
  if (!receive_packet(socket, reply)) return nullptr;
  if (!has_flag(reply, TAV_REPLY_FINAL | TAV_REPLY_INTERIM)) return nullptr;

  const auto found = requests.find(tavlib::load_be32(reply.requestId));
  if (found == requests.end()) return nullptr;
  ASyncRequest* request = found->second;
  std::erase(settled, request);  // the result for which it was kept is out of date

  if (has_flag(reply, TAV_REPLY_INTERIM)) {
    request->status = TAV_E_PENDING;
  } else if (has_flag(reply, TAV_REPLY_ERROR)) {
    request->status = TAV_E_SERVERERROR;
  } else {
    requests.erase(found);
    settle(request, reply);
  }
  return request;
}

// The digest is verified over the reply's own bytes, never over what the request's packet still holds after
// them.
void ServerInterface::settle(ASyncRequest* request, _TAVPACKET& reply) {
  std::memcpy(&request->packet, &reply, tavlib::length_of(reply));
  if (VerifyMd5Sum(&reply, keyBuffer.data()) == 0) {
    request->status = TAV_E_BADPACKET;
    if (ended != nullptr) ended(*this, request);
    return;
  }
  request->status = request->completion == nullptr ? 0 : request->completion(this, request);
}

void ServerInterface::CompleteFor(const ASyncRequest* waiting) {
  tavlib::complete_if(*this, [waiting](const ASyncRequest* request) { return request == waiting; });
}

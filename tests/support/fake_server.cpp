#include "support/fake_server.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "support/oracle.h"

namespace tavtest {
namespace {

constexpr std::size_t largest_datagram = 65536;
constexpr std::uint8_t final_reply = 0x80;
constexpr std::uint8_t error_reply = 0xc0;
constexpr std::uint8_t interim_reply = 0x20;

void require(bool holds, const char* what) {
  if (!holds) throw std::system_error(errno, std::generic_category(), what);
}

bool readable(int socket, std::chrono::milliseconds limit) {
  pollfd descriptor{socket, POLLIN, 0};
  const int ready = poll(&descriptor, 1, static_cast<int>(limit.count()));
  require(ready >= 0, "poll");
  return ready == 1;
}

std::uint16_t bind_to(int socket, const std::string& address) {
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_addr.s_addr = inet_addr(address.c_str());
  socklen_t size = sizeof name;
  require(bind(socket, reinterpret_cast<const sockaddr*>(&name), size) == 0, "bind");
  require(getsockname(socket, reinterpret_cast<sockaddr*>(&name), &size) == 0, "getsockname");
  return ntohs(name.sin_port);
}

}  // namespace

FakeServer::FakeServer(std::string passphrase, const std::string& address)
    : passphrase_(std::move(passphrase)),
      address_(address),
      socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  require(socket_ >= 0, "socket");
  port_ = bind_to(socket_, address);
}

FakeServer::~FakeServer() {
  close(socket_);
}

unsigned long FakeServer::address_number() const {
  return inet_addr(address_.c_str());
}

FakeServer::Request FakeServer::receive(std::chrono::milliseconds limit) {
  auto request = receive_unopened(limit);
  if (!request) throw std::runtime_error("no request arrived");
  request->packet = open_request(request->datagram, passphrase_);
  return *request;
}

std::optional<FakeServer::Request> FakeServer::receive_unopened(std::chrono::milliseconds limit) {
  if (!readable(socket_, limit)) return std::nullopt;
  Request request;
  request.datagram.resize(largest_datagram);
  socklen_t size = sizeof request.sender;
  const ssize_t length = recvfrom(socket_, request.datagram.data(), request.datagram.size(), 0,
                                  reinterpret_cast<sockaddr*>(&request.sender), &size);
  require(length >= 0, "recvfrom");
  request.datagram.resize(static_cast<std::size_t>(length));
  return request;
}

bool FakeServer::is_idle() const {
  return !readable(socket_, std::chrono::milliseconds(0));
}

void FakeServer::reply_status(const Request& request) {
  reply_packet(request, reply_to(request, final_reply));
}

void FakeServer::reply_version(const Request& request, std::uint32_t version) {
  Bytes packet = reply_to(request, final_reply);
  put_be32(packet, 28, version);
  reply_packet(request, packet);
}

void FakeServer::reply_entry(const Request& request, const WireEntry& entry) {
  reply_packet(request, entry_packet(request.code() | final_reply, request.id(), entry));
}

// A cleared count word is a count of 0.
void FakeServer::reply_no_entry(const Request& request) {
  reply_status(request);
}

void FakeServer::reply_error(const Request& request) {
  reply_packet(request, reply_to(request, error_reply));
}

void FakeServer::reply_interim(const Request& request) {
  reply_packet(request, reply_to(request, interim_reply));
}

void FakeServer::reply_bad_digest(const Request& request) {
  Bytes datagram = seal_reply(reply_to(request, final_reply), passphrase_);
  datagram[digest_offset] ^= 1;
  send_raw(request, datagram);
}

void FakeServer::reply_packet(const Request& request, const Bytes& packet) {
  send_raw(request, seal_reply(packet, passphrase_));
}

void FakeServer::send_raw(const Request& request, const Bytes& datagram) {
  const ssize_t sent = sendto(socket_, datagram.data(), datagram.size(), 0,
                              reinterpret_cast<const sockaddr*>(&request.sender), sizeof request.sender);
  require(sent == static_cast<ssize_t>(datagram.size()), "sendto");
}

Bytes reply_to(const FakeServer::Request& request, std::uint8_t flags) {
  return make_packet(static_cast<std::uint8_t>(request.code() | flags), request.id());
}

}  // namespace tavtest

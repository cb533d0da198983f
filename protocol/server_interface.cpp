#include <tavlib/protocol/server_interface.h>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <new>

#include "platform/keep_error.h"
#include "platform/no_cancellation.h"

namespace {

constexpr std::size_t kKeySize = 16;
// The cipher's key is only the first five bytes; the digest uses all sixteen.
constexpr int kCipherKeySize = 5;

// Room for the replies to some thousand look-ups sent at once. The system may grant less, or nothing.
void ask_for_receive_buffer(int socket) {
  constexpr int kReceiveBufferSize = 1 << 20;
  const tavlib::KeepError keep;
  setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &kReceiveBufferSize, sizeof kReceiveBufferSize);
}

}  // namespace

ServerInterface::ServerInterface(unsigned long serverAddress, unsigned short serverPort, const char* secret)
    : address(serverAddress),
      port(htons(serverPort)),
      socket(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  const tavlib::NoCancellation whole;
  enterLive();
  if (socket == -1) return;
  ask_for_receive_buffer(socket);
  if (secret != nullptr) std::memcpy(keyBuffer.data(), secret, strnlen(secret, kKeySize));
  cipher.reset(new (std::nothrow) CBlowfish(keyBuffer.data(), kCipherKeySize));
  if (cipher == nullptr) {
    close(socket);
    socket = -1;
  }
}

ServerInterface::~ServerInterface() {
  const tavlib::NoCancellation whole;  // a destructor that is left ends the process
  leaveLive();
  if (socket != -1) close(socket);
}

int ServerInterface::IsValid() {
  return cipher != nullptr ? 1 : 0;
}

unsigned ServerInterface::AbandonRequest(ASyncRequest* request) {
  if (IsRegistered(request->registeredId, request)) {
    request->status = TAV_E_CANCELLED;
    Forget(request);
  }
  return 0;
}

unsigned ServerInterface::StatusRequest(const ASyncRequest* request) {
  return request->status;
}

int ServerInterface::GetSocket() {
  return socket;
}

unsigned long ServerInterface::GetAddress() {
  return address;
}

ServerInterface::ASyncRequest* ServerInterface::TakeSettled(bool (*wanted)(const ASyncRequest*)) {
  const auto found = std::find_if(settled.begin(), settled.end(), wanted);
  if (found == settled.end()) return nullptr;
  ASyncRequest* request = *found;
  settled.erase(found);
  return request;
}

// StartRequest has reserved the room, so this allocates nothing.
void ServerInterface::KeepSettled(ASyncRequest* request) {
  settled.push_back(request);
}

void ServerInterface::Forget(ASyncRequest* request) {
  if (IsRegistered(request->registeredId, request)) {
    requests.erase(request->registeredId);
    if (ended != nullptr) ended(*this, request);
  }
  std::erase(settled, request);
}

// By now another request may have the id, so the pointers decide.
bool ServerInterface::IsRegistered(unsigned id, const ASyncRequest* request) const {
  const auto found = requests.find(id);
  return found != requests.end() && found->second == request;
}

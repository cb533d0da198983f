// A whole request and reply over loopback beside its floor: the same datagrams with bare system calls.
//
// Both sides of the exchange run in one thread, so that no scheduling comes in: the client sends, the
// "server" receives and sends a prepared reply, the client waits with select and receives.

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <tavlib/protocol/packet.h>
#include <tavlib/protocol/server_interface.h>
#include <unistd.h>

#include <array>
#include <cstring>

namespace {

constexpr const char* kPassPhrase = "benchmark";
constexpr std::size_t kPacketLength = 100;
constexpr std::size_t kDatagramLength = 4 + 104;

void store_be32(unsigned char* bytes, std::uint32_t value) {
  value = htonl(value);
  std::memcpy(bytes, &value, sizeof value);
}

/// A UDP socket on loopback that takes a request and answers with a sealed version reply under the id it is
/// told.
class Server {
 public:
  Server() : socket_(socket(AF_INET, SOCK_DGRAM, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    bind(socket_, reinterpret_cast<const sockaddr*>(&address), size);
    getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    std::strncpy(reinterpret_cast<char*>(key_.data()), kPassPhrase, key_.size());
    store_be32(reply_.length, kPacketLength);
    reply_.code = unsigned{TAV_REPLY_FINAL} | TAV_REQUEST_VERSION;
  }
  ~Server() { close(socket_); }

  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  unsigned short port() const { return port_; }

  void answer(std::uint32_t id) {
    store_be32(reply_.requestId, id);
    MakeMd5Sum(&reply_, key_.data());
    answer_unsealed();
  }

  void answer_unsealed() {
    std::array<unsigned char, 4096> request;
    sockaddr_in client{};
    socklen_t size = sizeof client;
    recvfrom(socket_, request.data(), request.size(), 0, reinterpret_cast<sockaddr*>(&client), &size);
    sendto(socket_, &reply_, kPacketLength, 0, reinterpret_cast<const sockaddr*>(&client), size);
  }

 private:
  int socket_;
  unsigned short port_{0};
  std::array<unsigned char, 16> key_{};
  _TAVPACKET reply_{};
};

bool wait_for_reply(int socket) {
  fd_set set;
  FD_ZERO(&set);
  FD_SET(socket, &set);
  timeval time{15, 0};
  return select(socket + 1, &set, nullptr, nullptr, &time) > 0;
}

void exchange_tavlib(benchmark::State& state) {
  Server server;
  ServerInterface client(htonl(INADDR_LOOPBACK), server.port(), kPassPhrase);
  ServerInterface::ASyncRequest request;
  for ([[maybe_unused]] auto turn : state) {
    store_be32(request.packet.length, kPacketLength);
    request.packet.code = TAV_REQUEST_VERSION;
    client.StartRequest(&request);
    server.answer(request.registeredId);
    if (!wait_for_reply(client.GetSocket()) || client.CompleteRequest() != &request || request.status != 0) {
      state.SkipWithError("the exchange failed");
      break;
    }
  }
}

// The same datagrams, unsealed and unchecked.
void exchange_system_calls(benchmark::State& state) {
  Server server;
  const int client = socket(AF_INET, SOCK_DGRAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(server.port());
  std::array<unsigned char, 4096> buffer{};
  for ([[maybe_unused]] auto turn : state) {
    sendto(client, buffer.data(), kDatagramLength, 0, reinterpret_cast<const sockaddr*>(&address),
           sizeof address);
    server.answer_unsealed();
    if (!wait_for_reply(client) || recvfrom(client, buffer.data(), buffer.size(), 0, nullptr, nullptr) <= 0) {
      state.SkipWithError("the exchange failed");
      break;
    }
  }
  close(client);
}

BENCHMARK(exchange_tavlib);
BENCHMARK(exchange_system_calls);

}  // namespace

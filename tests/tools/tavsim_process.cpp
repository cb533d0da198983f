#include "tavsim_process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

namespace tavtest {
namespace {

constexpr int limit_ms = 10000;

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

struct Pipe {
  int read_end = -1;
  int write_end = -1;

  Pipe() {
    int ends[2];
    require(pipe2(ends, O_CLOEXEC) == 0, "pipe2");
    read_end = ends[0];
    write_end = ends[1];
  }
};

bool is_readable(int descriptor, int timeout_ms) {
  pollfd watched{descriptor, POLLIN, 0};
  return poll(&watched, 1, timeout_ms) == 1;
}

// One byte at a time: what follows a line stays in the pipe.
bool read_byte(int descriptor, char& byte) {
  require(is_readable(descriptor, limit_ms), "tavsim printed nothing");
  return read(descriptor, &byte, 1) == 1;
}

}  // namespace

TavsimProcess::TavsimProcess(const std::vector<std::string>& arguments) {
  std::vector<std::string> words{TAVSIM_PROGRAM};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& word : words) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);
  const Pipe output;
  const Pipe errors;
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, output.write_end, STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&actions, errors.write_end, STDERR_FILENO);
  const int result = posix_spawn(&pid_, words[0].c_str(), &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(output.write_end);
  close(errors.write_end);
  output_ = output.read_end;
  errors_ = errors.read_end;
  require(result == 0, "tavsim cannot be started");
}

TavsimProcess::~TavsimProcess() {
  if (pid_ > 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  close(output_);
  close(errors_);
}

std::string TavsimProcess::read_line() {
  std::string line;
  char byte = 0;
  while (read_byte(output_, byte) && byte != '\n') {
    line += byte;
  }
  return line;
}

std::uint16_t TavsimProcess::wait_for_port(const std::string& address) {
  const std::string line = read_line();
  const std::string start = "tavsim: listening on " + address + ":";
  if (line.compare(0, start.size(), start) != 0)
    throw std::runtime_error("unexpected: " + line + read_errors());
  return static_cast<std::uint16_t>(std::stoul(line.substr(start.size())));
}

void TavsimProcess::signal(int number) const {
  kill(pid_, number);
}

int TavsimProcess::wait() {
  int status = 0;
  require(waitpid(pid_, &status, 0) == pid_, "waitpid");
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string TavsimProcess::read_errors() {
  std::string text;
  char byte = 0;
  while (read_byte(errors_, byte)) {
    text += byte;
  }
  return text;
}

Client::Client(const std::string& address, std::uint16_t port)
    : socket_(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in server{};
  server.sin_family = AF_INET;
  server.sin_port = htons(port);
  server.sin_addr.s_addr = inet_addr(address.c_str());
  require(connect(socket_, reinterpret_cast<const sockaddr*>(&server), sizeof server) == 0, "connect");
}

Client::~Client() {
  close(socket_);
}

void Client::send(const Bytes& datagram) const {
  require(::send(socket_, datagram.data(), datagram.size(), 0) == static_cast<ssize_t>(datagram.size()),
          "send");
}

Bytes Client::receive() const {
  require(is_readable(socket_, limit_ms), "no reply");
  Bytes datagram(65536);
  const ssize_t size = recv(socket_, datagram.data(), datagram.size(), 0);
  require(size >= 0, "recv");
  datagram.resize(static_cast<std::size_t>(size));
  return datagram;
}

bool Client::is_idle() const {
  return !is_readable(socket_, 0);
}

}  // namespace tavtest

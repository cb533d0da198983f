#include "registry/registry_fixture.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <stdexcept>

#include "registry/libc_hooks.h"

namespace tavtest {

std::ostream& operator<<(std::ostream& out, const Value& value) {
  return out << "type " << value.type << ' ' << testing::PrintToString(value.bytes);
}

Names TestKey::sections_below() const {
  Names names;
  for (unsigned i = 0; const char* name = subkeys->Enum(i); ++i)
    names.emplace_back(name);
  return names;
}

testing::AssertionResult fails_with(unsigned code, const std::function<int()>& call) {
  errno = 0;
  const int result = call();
  const unsigned error = AErrors::GetRtlError();
  if (result == 0 && error == code) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "result " << result << ", error " << error << " and not 0, " << code;
}

std::optional<Value> find_value(ARegistryKey& key, const std::string& name) {
  Value value{};
  unsigned size = 0;
  if (key.FindValue(name.c_str(), &value.type, &size, nullptr) == 0) return std::nullopt;
  value.bytes.resize(size);
  auto* data = reinterpret_cast<unsigned char*>(value.bytes.data());
  if (key.FindValue(name.c_str(), nullptr, &size, data) == 0) return std::nullopt;
  return value;
}

Names value_names(ARegistryKey& key) {
  Names names;
  for (unsigned i = 0, size = 0; key.EnumValue(i, nullptr, &size) != 0; ++i) {
    std::string name(size, '?');
    if (key.EnumValue(i, name.data(), &size) == 0) throw std::runtime_error("a value without its name");
    names.emplace_back(name.c_str());
  }
  return names;
}

Names child_names(ARegistryKey& key) {
  Names names;
  for (unsigned i = 0, size = 0; key.EnumKey(i, nullptr, &size) != 0; ++i) {
    std::string name(size, '?');
    if (key.EnumKey(i, name.data(), &size) == 0) throw std::runtime_error("a child without its name");
    names.emplace_back(name.c_str());
  }
  return names;
}

int set_text(ARegistryKey& key, const std::string& name, const std::string& text) {
  const auto size = static_cast<unsigned>(text.size() + 1);
  return key.SetValue(name.c_str(), REG_SZ, size, reinterpret_cast<const unsigned char*>(text.c_str()));
}

OtherProcess::OtherProcess(const std::function<int()>& work) : pid_(fork()) {
  if (pid_ == -1) throw std::runtime_error("fork failed");
  if (pid_ != 0) return;
  alarm(30);  // A test that went wrong must not wait for ever.
  forget_hooks();
  try {
    _exit(work());
  } catch (const std::exception&) {
    _exit(254);
  }
}

OtherProcess::~OtherProcess() {
  result();
}

int OtherProcess::result() {
  if (pid_ == -1) return -1;
  int status = 0;
  while (waitpid(pid_, &status, 0) == -1 && errno == EINTR) {
  }
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

bool others_can_lock(const std::string& path, short type) {
  return in_other_process([&] {
           const int fd = ::open(path.c_str(), O_RDWR | O_CLOEXEC);
           struct flock whole_file {};
           whole_file.l_type = type;
           whole_file.l_whence = SEEK_SET;
           return fd != -1 && fcntl(fd, F_SETLK, &whole_file) == 0 ? 1 : 0;
         }) == 1;
}

Gate::Gate() {
  if (pipe2(ends_, O_CLOEXEC) != 0) throw std::runtime_error("pipe failed");
}

Gate::~Gate() {
  close(ends_[0]);
  close(ends_[1]);
}

void Gate::open() const {
  if (::write(ends_[1], "", 1) != 1) throw std::runtime_error("a gate that cannot be opened");
}

void Gate::pass() const {
  char byte = 0;
  if (::read(ends_[0], &byte, 1) != 1) throw std::runtime_error("a gate that never opened");
}

WaitingProcess::WaitingProcess(const std::function<int()>& work)
    : process_([&] {
        start_.pass();
        return work();
      }) {}

int WaitingProcess::run() {
  start_.open();
  return process_.result();
}

}  // namespace tavtest

#include "faults/store/counting.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <new>
#include <stdexcept>

namespace tavtest {
namespace {

const std::string kCommon = "Common";

/// So long that the file takes several writes.
std::string long_text(long number) {
  return "number " + std::to_string(number) + std::string(1500, '.');
}

std::string hex_digits(const std::string& text) {
  std::string digits;
  for (const char character : text) {
    digits += "0123456789ABCDEF"[static_cast<unsigned char>(character) / 16];
    digits += "0123456789ABCDEF"[static_cast<unsigned char>(character) % 16];
  }
  return digits;
}

std::string common_name(int writer) {
  return "w" + std::to_string(writer);
}

/// A lock among the writers, which ends with its process.
class Turn {
 public:
  explicit Turn(const std::string& path) : fd_(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
    if (fd_ == -1 || flock(fd_, LOCK_EX) != 0) throw std::runtime_error("flock failed");
  }
  ~Turn() { close(fd_); }

  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  int fd_;
};

bool within(const Counter& counter, long acknowledged, long number) {
  return number >= acknowledged && number <= counter.begun;
}

}  // namespace

Ledger::Ledger() {
  void* block = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) throw std::runtime_error("mmap failed");
  shared_ = new (block) Shared;
}

Ledger::~Ledger() {
  munmap(shared_, sizeof(Shared));
}

std::string own_key(int writer) {
  return "Writer" + std::to_string(writer) + "\\";
}

std::string made_key(long number) {
  return "Made" + std::to_string(number) + "\\";
}

std::string counting_file() {
  std::string text = "# Counters\n";
  for (int writer = 0; writer < Ledger::kWriters; ++writer)
    text += "[" + own_key(writer) + "]\ncount=0\ntext=\"" + long_text(0) + "\"\nlist='0''0'\nbytes=$30\n";
  text += "[" + kCommon + "]\n";
  for (int writer = 0; writer < Ledger::kWriters; ++writer)
    text += common_name(writer) + "=0\n";
  return text;
}

bool write_set(TestKey& key, long number) {
  const std::string digits = std::to_string(number);
  key.values->EnterData("count", digits.c_str());
  key.values->EnterData("text", ('"' + long_text(number) + '"').c_str());
  key.values->EnterData("list", ("'" + digits + "''" + digits + "'").c_str());
  key.values->EnterData("bytes", ("$" + hex_digits(digits)).c_str());
  return key.Commit(nullptr) == 1;
}

long agreed_number(const StoreText& store, const std::string& key) {
  const long number = store.number(key, "count");
  const std::string digits = std::to_string(number);
  const StoreText::Values expected{{"count", digits},
                                   {"text", long_text(number)},
                                   {"list", digits + "," + digits + ","},
                                   {"bytes", hex_digits(digits)}};
  const auto found = store.keys.find(key);
  return found != store.keys.end() && found->second == expected ? number : -1;
}

long agreed_number(TestKey& key) {
  const auto count = find_value(key, "count");
  if (!count || count->type != REG_DWORD || count->bytes.size() != sizeof(std::uint32_t)) return -1;
  std::uint32_t number = 0;
  std::memcpy(&number, count->bytes.data(), sizeof number);
  const std::string digits = std::to_string(number);
  const std::string zero(1, '\0');
  const bool agree =
      find_value(key, "text") == Value{REG_SZ, long_text(static_cast<long>(number)) + zero} &&
      find_value(key, "list") == Value{REG_MULTI_SZ, digits + zero + digits + zero + zero + zero} &&
      find_value(key, "bytes") == Value{REG_BINARY, digits};
  return agree ? static_cast<long>(number) : -1;
}

bool write_common(const std::string& path, int writer, long number) {
  const Turn turn(path + ".turn");
  TestKey key(path);
  const auto value = static_cast<std::uint32_t>(number);
  return key.LoadKey(kCommon.c_str(), 0, 2, nullptr) == 1 &&
         key.SetValue(common_name(writer).c_str(), REG_DWORD, sizeof value,
                      reinterpret_cast<const unsigned char*>(&value)) == 1;
}

int count_in_own_and_common(const Ledger& ledger, const std::string& path, int writer, int rounds,
                            long views) {
  const auto index = static_cast<std::size_t>(writer);
  TestKey key(path);
  if (key.LoadKey(own_key(writer).c_str(), 0, 2, nullptr) == 0) return 1;
  for (int round = 0; rounds == 0 || round < rounds || !ledger.has_enough(views); ++round) {
    if (!count_up(ledger->own[index], [&](long number) { return write_set(key, number); })) return 2;
    if (!count_up(ledger->common[index], [&](long number) { return write_common(path, writer, number); }))
      return 3;
  }
  --ledger->running;
  return 0;
}

testing::AssertionResult nothing_is_lost(const Ledger& ledger, const std::string& path) {
  std::array<long, Ledger::kWriters> own{};
  std::array<long, Ledger::kWriters> common{};
  for (std::size_t writer = 0; writer < own.size(); ++writer) {
    own[writer] = ledger->own[writer].acknowledged;
    common[writer] = ledger->common[writer].acknowledged;
  }
  const std::string text = read_file(path);
  const StoreText store = read_store(text);
  for (int writer = 0; writer < Ledger::kWriters; ++writer) {
    const auto index = static_cast<std::size_t>(writer);
    const long number = agreed_number(store, own_key(writer));
    if (!within(ledger->own[index], own[index], number))
      return testing::AssertionFailure() << own_key(writer) << " is at " << number << " and not from "
                                         << own[index] << " to " << ledger->own[index].begun << ":\n"
                                         << text;
    const long shared = store.number(kCommon + "\\", common_name(writer));
    if (!within(ledger->common[index], common[index], shared))
      return testing::AssertionFailure() << common_name(writer) << " is at " << shared << " and not from "
                                         << common[index] << " to " << ledger->common[index].begun << ":\n"
                                         << text;
  }
  if (!store.strays.empty()) return testing::AssertionFailure() << "lines without a meaning:\n" << text;
  return testing::AssertionSuccess();
}

}  // namespace tavtest

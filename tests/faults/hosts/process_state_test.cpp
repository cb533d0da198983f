// The library leaves the process in which it runs as it found it.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <locale>

#include "conformance/event_loop.h"
#include "faults/hosts/descriptors.h"
#include "faults/hosts/host_test.h"

using namespace tavtest;

namespace {

using Texts = std::vector<std::string>;

Texts environment() {
  Texts result;
  for (char** each = environ; *each != nullptr; ++each)
    result.emplace_back(*each);
  return result;
}

mode_t current_umask() {
  const mode_t mask = umask(0);
  umask(mask);
  return mask;
}

// What each signal does, and which signals are blocked.
Texts signals() {
  Texts result;
  sigset_t blocked;
  sigprocmask(SIG_BLOCK, nullptr, &blocked);
  for (int signal = 1; signal < NSIG; ++signal) {
    struct sigaction action {};
    if (sigaction(signal, nullptr, &action) != 0) continue;
    result.push_back(
        std::to_string(signal) + " " + std::to_string(reinterpret_cast<std::uintptr_t>(action.sa_handler)) +
        " " + std::to_string(action.sa_flags) + (sigismember(&blocked, signal) == 1 ? " blocked" : ""));
  }
  return result;
}

Texts timers() {
  Texts result;
  for (const auto which : {ITIMER_REAL, ITIMER_VIRTUAL, ITIMER_PROF}) {
    itimerval timer{};
    getitimer(which, &timer);
    result.push_back(std::to_string(timer.it_value.tv_sec) + "." + std::to_string(timer.it_value.tv_usec));
  }
  result.push_back(read_file("/proc/self/timers"));
  return result;
}

std::size_t threads() {
  const std::filesystem::directory_iterator tasks("/proc/self/task");
  return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

bool has_children() {
  return waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

// Everything of a process that others than the library may rely on.
struct ProcessState {
  Texts signal_actions = signals();
  Texts running_timers = timers();
  Texts variables = environment();
  mode_t mask = current_umask();
  std::string c_locale = std::setlocale(LC_ALL, nullptr);
  std::string cpp_locale = std::locale().name();
  std::string folder = std::filesystem::current_path();
  std::size_t thread_count = threads();
  bool children = has_children();

  friend bool operator==(const ProcessState&, const ProcessState&) = default;
};

// Collects what is written to a descriptor.
class Captured {
 public:
  explicit Captured(int descriptor) : descriptor_(descriptor), kept_(dup(descriptor)) {
    std::fflush(nullptr);
    dup2(fileno(file_), descriptor_);
  }
  ~Captured() {
    dup2(kept_, descriptor_);
    close(kept_);
    std::fclose(file_);
  }

  Captured(const Captured&) = delete;
  Captured& operator=(const Captured&) = delete;

  off_t size() const {
    std::fflush(nullptr);
    return lseek(descriptor_, 0, SEEK_END);
  }

 private:
  int descriptor_;
  int kept_;
  std::FILE* file_ = std::tmpfile();
};

class ProcessAround : public HostTest {
 protected:
  void ask_in_every_way() {
    version_of(address());
    unsigned version = 0;
    TAVASYNC async{};
    TAVQueryVersionAs(address(), &version, &async);
    server.answer_all();
    TAVASYNC* popped = nullptr;
    EXPECT_EQ(TAVASyncPop(&popped, address()), 1);
    _TAVENTRYA entry{};
    TAVQueryEnum* query = nullptr;
    EXPECT_EQ(TAVQueryStartA(&entry, 0, 0, address(), 0, &query), 1);
    while (TAVQueryNextA(query, &entry) == 1) {
    }
    TAVQueryClose(query);
    const _TAVENTRYA added{};
    EXPECT_EQ(TAVAddEntryA(&added), 2);
  }

  void look_up_in_every_way() {
    std::array<char, 32> user{};
    EXPECT_EQ(SSO_GetUserByAddr(somewhere, user.data(), 31, nullptr, 0), 1);
    Lookup lookup;
    lookup.start(somewhere);
    server.answer_all();
    EXPECT_TRUE(loop.run_until([&] { return lookup.told == 1; }));
  }

  void fail_in_every_way() {
    unsigned version = 0;
    EXPECT_EQ(error_of(TAVQueryVersion(1, &version)), 11U);
    time.on_wait([this](int, timeval) { server.reply_bad_digest(server.receive()); });
    EXPECT_EQ(error_of(TAVQueryVersion(address(), &version)), 13U);
    time.on_wait({});
    EXPECT_EQ(error_of(TAVQueryVersion(address(), &version)), 4U);
  }

  void change_the_registry() {
    ARegistryKey* const root = ARegKeyFile(config.path().c_str());
    ARegistry handle;
    const unsigned char text[] = "x";
    EXPECT_EQ(handle.Open(root, "tavlib\\Other", 1, nullptr, REGISTRY_ACCESS_WRITE), 1);
    EXPECT_EQ(handle.SetValue("name", REG_SZ, 2, text), 1);
    EXPECT_EQ(handle.Open(root, "missing", 0, nullptr, 1), 0);
    ARegKeyFileClose(root);
  }

  void use_everything() {
    ASSERT_NE(SSO_Init(), nullptr);
    ask_in_every_way();
    look_up_in_every_way();
    change_the_registry();
    fail_in_every_way();
  }

  const ProcessState before{};  // before the library's first call in this process
  EventLoop loop;
};

}  // namespace

TEST_F(ProcessAround, IsAsItWasWhileTheLibraryIsUpAndAfterwards) {
  use_everything();
  EXPECT_EQ(ProcessState(), before);
  SSO_Exit();
  EXPECT_EQ(ProcessState(), before);
}

TEST_F(ProcessAround, KeepsItsUnusualSettings) {
  const mode_t mask = umask(0137);
  const auto folder = std::filesystem::current_path();
  const TempFolder elsewhere;
  std::filesystem::current_path(elsewhere.path());
  const auto handler = std::signal(SIGPIPE, SIG_IGN);
  const ProcessState unusual{};
  use_everything();
  SSO_Exit();
  EXPECT_EQ(ProcessState(), unusual);
  std::signal(SIGPIPE, handler);
  std::filesystem::current_path(folder);
  umask(mask);
}

TEST_F(ProcessAround, HasNothingWrittenToItsOutputs) {
  off_t written = -1;
  {
    const Captured output(STDOUT_FILENO);
    const Captured errors(STDERR_FILENO);
    use_everything();
    SSO_Exit();
    EXPECT_EQ(error_of(TAVInitialize()), 0U);
    TAVExit();
    config.write("[no key\n=\n");
    EXPECT_EQ(error_of(TAVInitialize()), 3U);
    written = output.size() + errors.size();
  }
  EXPECT_EQ(written, 0);
}

TEST_F(ProcessAround, HasOneDescriptorMoreForEachServerAndNoneAfterwards) {
  ASSERT_EQ(TAVInitialize(), 1);  // makes the machine-wide store, whose descriptor is kept
  TAVExit();
  const std::set<int> descriptors = open_descriptors();
  use_everything();
  EXPECT_EQ(opened_since(descriptors), std::set<int>{TAVGetSocket(address())});
  SSO_Exit();
  EXPECT_EQ(open_descriptors(), descriptors);
}

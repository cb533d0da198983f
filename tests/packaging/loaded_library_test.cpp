// Hosts that load the library while they run and unload it again, a thousand times and more, while their
// threads live on. None of them is linked with it.
#include <arpa/inet.h>
#include <endian.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <tavlib/tavlib.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <iterator>
#include <ostream>
#include <set>

#include "conformance/tavsim.h"
#include "faults/hosts/descriptors.h"
#include "packaging/helping_thread.h"
#include "packaging/loaded_library.h"
#include "packaging/plugin.h"
#include "support/process_memory.h"

namespace tavtest {
namespace {

// More than a process may have keys of thread-local slots, of which glibc has 1024.
const int rounds = sanitized() ? 300 : 1100;

long mappings() {
  std::ifstream file("/proc/self/maps");
  return static_cast<long>(std::count(std::istreambuf_iterator<char>(file), {}, '\n'));
}

class Loaded : public testing::Test {
 protected:
  Loaded() { config_.write_servers({sim_.configured()}, "127.0.0.1"); }

  // Runs `round`, which is told its number. After the first ones, which make what is kept, not a block of
  // memory, not a descriptor and not a mapping remains of each.
  template <typename Round>
  void run(Round round) {
    const int first = rounds / 10;
    for (int number = 0; number < first; ++number)
      round(number);
    const std::set<int> descriptors = open_descriptors();
    const long mapped = mappings();
    const long heap = allocated();
    for (int number = first; number < rounds && !HasFailure(); ++number)
      round(number);
    EXPECT_LT(allocated() - heap, 512);  // less than the smallest block of every look-up
    EXPECT_LT(mappings() - mapped, 10);
    EXPECT_EQ(open_descriptors(), descriptors);
    pthread_key_t key = 0;
    ASSERT_EQ(pthread_key_create(&key, nullptr), 0);
    pthread_key_delete(key);
  }

  // A look-up takes its time, so not every round makes one.
  static void look_up(const LoadedLibrary& library, int round) {
    if (round % 20 != 0) return;
    std::array<char, 65> user{};
    auto* const get = LOADED(library, SSO_GetUserByAddr);
    EXPECT_EQ(get(htole32(inet_addr("10.1.0.11")), user.data(), 64, nullptr, 0), 1);
    EXPECT_STREQ(user.data(), "ANNA KVIST");
  }

  // Gives each thread a last error of its own.
  static void use_in(std::initializer_list<HelpingThread*> threads, const LoadedLibrary& library) {
    auto* const set = LOADED(library, TAVSetLastError);
    auto* const get = LOADED(library, TAVGetLastError);
    set(1);
    for (HelpingThread* const thread : threads) {
      thread->run([set, get] {
        set(42);
        EXPECT_EQ(get(), 42U);
      });
    }
    EXPECT_EQ(get(), 1U);
  }

  Tavsim sim_{TavsimOptions{"127.0.0.1", "secret", sample_entries}};
  TestConfig config_;
  HelpingThread living_;  // through all rounds
};

}  // namespace

// Threads end after the unload, or in its middle.
TEST_F(Loaded, LibraryServesEachRoundAndLeavesNothing) {
  run([this](int round) {
    HelpingThread ending;
    const LoadedLibrary library(TAVLIB_LIBRARY);
    ASSERT_STREQ(LOADED(library, SSO_Init)(), "Norvel TAV/TIZ");
    look_up(library, round);
    use_in({&living_, &ending}, library);
    if (round % 2 == 0) ending.end();
    LOADED(library, SSO_Exit)();
  });
}

// The library is still there when it is loaded again, with what it had.
TEST_F(Loaded, LibraryThatIsNotExitedIsKeptOnce) {
  run([this](int round) {
    HelpingThread ending;
    const LoadedLibrary library(TAVLIB_LIBRARY);
    ASSERT_EQ(LOADED(library, TAVInitialize)(), 1);
    if (round == 0) {
      ASSERT_NE(LOADED(library, SSO_Init)(), nullptr);
    }
    look_up(library, round);
    use_in({&living_, &ending}, library);
    if (round % 2 == 0) ending.end();
  });
  const LoadedLibrary library(TAVLIB_LIBRARY);
  LOADED(library, SSO_Exit)();
  unsigned version = 0;
  auto* const ask = LOADED(library, TAVQueryVersion);
  for (int round = 0; round < rounds; ++round) {
    EXPECT_EQ(round % 100 == 0 ? ask(inet_addr("127.0.0.1"), &version) : 1, 1);
    LOADED(library, TAVExit)();
  }
  EXPECT_EQ(ask(inet_addr("127.0.0.1"), &version), 0);
  EXPECT_EQ(LOADED(library, TAVGetLastError)(), 7U);
}

TEST_F(Loaded, LibraryThatIsNeverInitialisedLeavesNothing) {
  run([this](int) {
    const LoadedLibrary library(TAVLIB_LIBRARY);
    auto* const set = LOADED(library, TAVSetLastError);
    living_.run([set] { set(42); });
    EXPECT_EQ(LOADED(library, SSO_GetLastError)(), 42U);
    ARegistryKey* const key = LOADED(library, ARegKeyFile)(config_.path().c_str());
    EXPECT_EQ(LOADED(library, ARegKeyFileClose)(key), 1);
  });
}

// No thread's end, however late it comes, may find the library's code gone.
TEST(LoadedLibrary, StaysInMemory) {
  { const LoadedLibrary library(TAVLIB_LIBRARY); }
  void* const still_there = dlopen(TAVLIB_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
  ASSERT_NE(still_there, nullptr);
  dlclose(still_there);
}

namespace {

struct Kind {
  const char* name;
  const char* path;

  friend std::ostream& operator<<(std::ostream& out, const Kind& each) { return out << each.name; }
};

class Plugin : public Loaded, public testing::WithParamInterface<Kind> {};

}  // namespace

INSTANTIATE_TEST_SUITE_P(With, Plugin,
                         testing::Values(Kind{"TheSharedLibrary", PLUGIN_SHARED},
                                         Kind{"TheStaticLibrary", PLUGIN_STATIC}),
                         [](const auto& each) { return std::string(each.param.name); });

TEST_P(Plugin, LeavesNothing) {
  run([this](int round) {
    HelpingThread ending;
    const LoadedLibrary plugin(GetParam().path);
    ASSERT_EQ(LOADED(plugin, plugin_start)(), 1);
    auto* const last_error = LOADED(plugin, plugin_last_error);
    for (HelpingThread* const thread : {&living_, &ending})
      thread->run([last_error] { EXPECT_EQ(last_error(42), 42U); });
    if (round % 2 == 0) ending.end();
    LOADED(plugin, plugin_end)();
  });
}

TEST_P(Plugin, ThatOnlyUsesTheRegistryLeavesNothing) {
  run([](int) {
    const LoadedLibrary plugin(GetParam().path);
    EXPECT_EQ(LOADED(plugin, plugin_registry)(), 1);
  });
}

}  // namespace tavtest

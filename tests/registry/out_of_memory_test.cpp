// Each allocation of an operation fails in turn: it ends with error 12 or bad_alloc, leaks nothing, leaves
// the file whole, and works the next time.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <tavlib/registry/registry.h>

#include <cstring>

#include "registry/libc_hooks.h"
#include "registry/registry_fixture.h"

namespace tavtest {
namespace {

enum class Outcome { success, out_of_memory, bad_alloc, other };

Outcome outcome_of(const std::function<int()>& call) {
  try {
    errno = 0;
    if (call() != 0) return Outcome::success;
    return AErrors::GetRtlError() == 12 ? Outcome::out_of_memory : Outcome::other;
  } catch (const std::bad_alloc&) {
    return Outcome::bad_alloc;
  }
}

/// The outcome when the nth allocation fails; nothing when there are fewer.
std::optional<Outcome> with_failure(int nth, const std::function<int()>& call) {
  const CallFails fails(Call::allocate, nth, ENOMEM);
  const Outcome outcome = outcome_of(call);
  return fails.fired() ? std::optional(outcome) : std::nullopt;
}

class OutOfMemory : public RegistryTest {
 protected:
  /// Fails each allocation of `call` in turn, with `prepare` before each. Gives how many there were.
  static int fail_each(const std::function<void()>& prepare, const std::function<int()>& call,
                       const std::function<void(Outcome)>& check) {
    for (int nth = 1;; ++nth) {
      prepare();
      const std::optional<Outcome> outcome = with_failure(nth, call);
      if (!outcome) return nth - 1;
      SCOPED_TRACE("allocation " + std::to_string(nth));
      check(*outcome);
    }
  }
};

const std::string file = "[A]\nt=\"a\"\nm='a''b'\nn=1\nb=$01\n[A\\B]\n[A\\C]\n";

TEST_F(OutOfMemory, GrowingTheValuesIsError12AndReleasesTheBlocks) {
  ARegistryData data;
  ARegistryData::Entry entry;
  entry.name = strdup("name");
  entry.data = reinterpret_cast<unsigned char*>(strdup("text"));
  entry.size = 4;
  EXPECT_EQ(with_failure(1, [&] { return data.EnterData(entry); }), Outcome::out_of_memory);
  EXPECT_EQ(data.EnumData(0), nullptr);
  EXPECT_EQ(data.EnterData("v", "1"), 1);
}

TEST_F(OutOfMemory, AParserOrANameCopyThrows) {
  for (const char* text : {"\"a\"", "'a'", "1", "$01"}) {
    for (const int nth : {1, 2}) {
      ARegistryData data;
      EXPECT_EQ(with_failure(nth, [&] { return data.EnterData("v", text); }), Outcome::bad_alloc);
      EXPECT_EQ(data.EnumData(0), nullptr);
    }
  }
}

TEST_F(OutOfMemory, EnteringInAListIsError12) {
  for (const int nth : {1, 2}) {
    ARegistryKeyList list;
    EXPECT_EQ(with_failure(nth, [&] { return list.Enter("A\\"); }), Outcome::out_of_memory);
    EXPECT_EQ(list.Enum(0), nullptr);
    EXPECT_EQ(list.Enter("A\\"), 1);
  }
}

TEST_F(OutOfMemory, LoadingThrowsOrFailsAndLoadsTheNextTime) {
  write(file);
  std::optional<TestKey> key;
  const int allocations =
      fail_each([&] { key.emplace(path); }, [&] { return key->LoadKey("A", 0, 3, nullptr); },
                [&](Outcome outcome) {
                  EXPECT_NE(outcome, Outcome::other);
                  EXPECT_TRUE(others_can_lock(path, F_WRLCK));
                  EXPECT_EQ(key->LoadKey("", 0, 3, nullptr), 1);
                  EXPECT_EQ(child_names(*key), (Names{"A", "A", "A"}));
                  EXPECT_EQ(content(), file);
                });
  EXPECT_GT(allocations, 10);
}

TEST_F(OutOfMemory, ListingTheSectionsBelowThrowsError12) {
  write(file);
  bool thrown = false;
  for (int nth = 1; nth < 20 && !thrown; ++nth) {
    TestKey key(path);
    const CallFails fails(Call::allocate, nth, ENOMEM);
    try {
      key.LoadKey("A", 0, 3, nullptr);
    } catch (const ARegistryException& exception) {
      thrown = true;
      EXPECT_EQ(AErrors::GetRtlError(), 12U);
      EXPECT_EQ(exception.code, 12U);
    } catch (const std::bad_alloc&) {
      continue;
    }
  }
  EXPECT_TRUE(thrown);
}

TEST_F(OutOfMemory, LoadingNeverLeavesAValueOutThatACommitWouldThenDrop) {
  std::string values;
  for (char name = 'a'; name <= 'k'; ++name)  // Eleven: the array grows twice.
    values += name + std::string("=1\n");
  write("[A]\nbad=-1\n" + values);
  const std::string before = content();
  std::optional<TestKey> key;
  int refused = 0;
  const auto load = [&] {
    try {
      return key->LoadKey("A", 0, 3, nullptr);
    } catch (const ARegistryException& exception) {
      EXPECT_EQ(AErrors::GetRtlError(), 12U);
      EXPECT_EQ(exception.code, 12U);
      ++refused;
      throw;
    }
  };
  fail_each([&] { key.emplace(path); }, load,
            [&](Outcome outcome) {
              EXPECT_NE(outcome, Outcome::success);
              EXPECT_TRUE(fails_with(2, [&] { return key->Commit(nullptr); }));
              EXPECT_EQ(content(), before);
            });
  EXPECT_EQ(refused, 2);
  ASSERT_EQ(set_text(*key, "v", "x"), 1);  // Nothing failed the last time.
  EXPECT_EQ(content(), "[A\\]\n" + values + "v=\"x\"\n");
}

TEST_F(OutOfMemory, CreatingAKeyLeavesTheFileAsItWasOrCreatesIt) {
  std::optional<TestKey> key;
  const int allocations = fail_each(
      [&] {
        write(file);
        key.emplace(path);
      },
      [&] { return key->LoadKey("A\\Long name that has its own block", 1, 3, nullptr); },
      [&](Outcome outcome) {
        EXPECT_NE(outcome, Outcome::other);
        EXPECT_NE(outcome, Outcome::success);
        EXPECT_EQ(content(), file);
      });
  EXPECT_GT(allocations, 5);
}

TEST_F(OutOfMemory, SettingAValueFailsAndLeavesTheFileAsItWas) {
  std::optional<TestKey> key;
  const int allocations = fail_each(
      [&] {
        write(file);
        key.emplace(path);
        ASSERT_EQ(key->LoadKey("A", 0, 3, nullptr), 1);
      },
      [&] { return key->SetValue("v", REG_SZ, 2, reinterpret_cast<const unsigned char*>("x")); },
      [&](Outcome outcome) {
        EXPECT_EQ(outcome, Outcome::out_of_memory);
        EXPECT_EQ(content(), file);
        EXPECT_EQ(set_text(*key, "v", "x"), 1);
      });
  EXPECT_GE(allocations, 2);
}

TEST_F(OutOfMemory, DeletingAKeyFailsAndLeavesTheFileAsItWas) {
  write(file);
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 3, nullptr), 1);
  EXPECT_EQ(with_failure(1, [&] { return key.DeleteKey("B"); }), Outcome::out_of_memory);
  EXPECT_EQ(content(), file);
  EXPECT_EQ(child_names(key), (Names{"B", "C"}));
}

TEST_F(OutOfMemory, CopyingAKeyThrows) {
  write(file);
  TestKey key(path);
  ASSERT_EQ(key.LoadKey("A", 0, 3, nullptr), 1);
  const auto copy = [&] {
    const TestKey copied(key);
    return 1;
  };
  EXPECT_EQ(with_failure(1, copy), Outcome::bad_alloc);
  EXPECT_EQ(copy(), 1);
}

TEST_F(OutOfMemory, MakingARootThrows) {
  EXPECT_EQ(with_failure(1,
                         [&] {
                           ARegKeyFileClose(ARegKeyFile(path.c_str()));
                           return 1;
                         }),
            Outcome::bad_alloc);
}

TEST_F(OutOfMemory, OpeningAHandleLeavesItClosed) {
  write(file);
  const TestKey root(path);
  ARegistry handle;
  ARegistryKey* base = const_cast<TestKey*>(&root);
  fail_each([&] { ASSERT_EQ(handle.Open(base, "A\\B", 0, nullptr, 3), 1); },
            [&] { return handle.Open(base, "A", 0, nullptr, 3); },
            [&](Outcome outcome) {
              EXPECT_NE(outcome, Outcome::other);
              EXPECT_EQ(handle.GetKey() != nullptr, outcome == Outcome::success);
            });
}

TEST_F(OutOfMemory, TheFacadesOwnBuffersAreError12) {
  write("[A]\nt=\"" + std::string(100, 't') + "\"\n[A\\" + std::string(100, 'k') + "]\n");
  TestKey root(path);
  Registry registry(&root);
  ASSERT_EQ(registry.Open("A", 1), 1);
  unsigned number = 7;
  std::string text;
  const auto nothing = [] {};
  const auto is_error_12 = [](Outcome outcome) { EXPECT_EQ(outcome, Outcome::out_of_memory); };
  EXPECT_EQ(fail_each(
                nothing, [&] { return registry.QueryValue("t", number); }, is_error_12),
            1);
  EXPECT_EQ(number, 0U);
  EXPECT_GE(fail_each(
                nothing, [&] { return registry.QueryValue("t", text); }, is_error_12),
            1);
  EXPECT_EQ(text, std::string(100, 't'));
  EXPECT_GE(fail_each(
                nothing, [&] { return registry.EnumKey(0, text); }, is_error_12),
            1);
  EXPECT_EQ(text, std::string(100, 'k'));
}

TEST_F(OutOfMemory, AFailedFacadeOpenHasNoKey) {
  write(file);
  TestKey root(path);
  Registry registry(&root);
  fail_each([&] { ASSERT_EQ(registry.Open("A\\B", 1), 1); }, [&] { return registry.Open("A", 1); },
            [&](Outcome outcome) { EXPECT_EQ(registry.GetKey() != nullptr, outcome == Outcome::success); });
}

}  // namespace
}  // namespace tavtest

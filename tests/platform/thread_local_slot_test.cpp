#include <gtest/gtest.h>
#include <tavlib/platform/thread_local_slot.h>

#include <cerrno>
#include <climits>
#include <memory>
#include <thread>
#include <type_traits>
#include <vector>

namespace tavtest {
namespace {

static_assert(std::has_virtual_destructor_v<ATls>);
static_assert(!std::is_copy_constructible_v<ATls> && !std::is_copy_assignable_v<ATls>);

class OpenTls : public ATls {
 public:
  using ATls::ATls;
  using ATls::created;
  using ATls::key;
};

std::vector<void*> destroyed;
void remember(void* value) {
  destroyed.push_back(value);
}

// Creates slots until the platform refuses one, and returns the code that was thrown.
template <typename... Arguments>
unsigned code_when_keys_run_out(Arguments... arguments) {
  std::vector<std::unique_ptr<ATls>> slots;
  for (int i = 0; i <= PTHREAD_KEYS_MAX; ++i) {
    try {
      slots.push_back(std::make_unique<ATls>(arguments...));
    } catch (const ATlsException& exception) {
      return exception.code;
    }
    errno = 77;
  }
  return 0;
}

class ThreadLocalSlot : public testing::Test {
 protected:
  ThreadLocalSlot() { destroyed.clear(); }

  int value = 0;
  int other = 0;
};

TEST_F(ThreadLocalSlot, IsNullUntilItIsSet) {
  ATls slot;
  EXPECT_EQ(slot.GetValue(), nullptr);
  EXPECT_EQ(slot.SetValue(&value), 1);
  EXPECT_EQ(slot.GetValue(), &value);
  EXPECT_EQ(slot.SetValue(nullptr), 1);
  EXPECT_EQ(slot.GetValue(), nullptr);
}

TEST_F(ThreadLocalSlot, HasOneValueForEachThread) {
  ATls slot;
  slot.SetValue(&value);
  std::thread([&] {
    EXPECT_EQ(slot.GetValue(), nullptr);
    EXPECT_EQ(slot.SetValue(&other), 1);
    EXPECT_EQ(slot.GetValue(), &other);
  }).join();
  EXPECT_EQ(slot.GetValue(), &value);
}

TEST_F(ThreadLocalSlot, SlotsAreIndependent) {
  ATls first;
  ATls second;
  first.SetValue(&value);
  EXPECT_EQ(second.GetValue(), nullptr);
}

TEST_F(ThreadLocalSlot, DestructorFunctionGetsTheValueOfAThreadThatEnds) {
  ATls slot(remember);
  std::thread([&] { slot.SetValue(&value); }).join();
  EXPECT_EQ(destroyed, std::vector<void*>{&value});
}

TEST_F(ThreadLocalSlot, DestructorFunctionIsNotCalledForANullValue) {
  ATls slot(remember);
  std::thread([&] {
    slot.SetValue(&value);
    slot.SetValue(nullptr);
  }).join();
  EXPECT_TRUE(destroyed.empty());
}

TEST_F(ThreadLocalSlot, DestructorFunctionIsNotCalledWhenTheSlotIsDestroyed) {
  {
    ATls slot(remember);
    slot.SetValue(&value);
  }
  EXPECT_TRUE(destroyed.empty());
}

TEST_F(ThreadLocalSlot, HasItsFieldsInOrder) {
  OpenTls slot;
  EXPECT_LT(static_cast<void*>(&slot.key), static_cast<void*>(&slot.created));
}

TEST_F(ThreadLocalSlot, KnowsThatItsKeyWasCreated) {
  EXPECT_EQ(OpenTls().created, 1U);
  EXPECT_EQ(OpenTls(remember).created, 1U);
}

TEST_F(ThreadLocalSlot, CannotBeUsedOnceItsKeyIsDeleted) {
  OpenTls slot;
  ASSERT_EQ(slot.SetValue(&value), 1);
  ASSERT_EQ(pthread_key_delete(slot.key), 0);
  EXPECT_EQ(slot.SetValue(&value), 0);
  EXPECT_EQ(slot.GetValue(), nullptr);
  slot.created = 0;
}

TEST_F(ThreadLocalSlot, DeletesItsKeyOnlyIfItCreatedOne) {
  pthread_key_t deleted{};
  pthread_key_t kept{};
  {
    OpenTls slot;
    deleted = slot.key;
  }
  EXPECT_NE(pthread_setspecific(deleted, &value), 0);
  {
    OpenTls slot;
    kept = slot.key;
    slot.created = 0;
  }
  EXPECT_EQ(pthread_setspecific(kept, nullptr), 0);
  pthread_key_delete(kept);
}

TEST_F(ThreadLocalSlot, ThrowsTheRuntimeErrorOfTheMomentWhenThereAreNoMoreKeys) {
  EXPECT_EQ(code_when_keys_run_out(), 77U);
  EXPECT_EQ(code_when_keys_run_out(remember), 77U);
}

TEST_F(ThreadLocalSlot, GivesItsKeyBackForTheNextOne) {
  for (int i = 0; i < 2 * PTHREAD_KEYS_MAX; ++i) {
    ATls slot;
    ASSERT_EQ(slot.SetValue(&value), 1);
  }
}

}  // namespace
}  // namespace tavtest

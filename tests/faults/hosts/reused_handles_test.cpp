// A handle that is used again while its request is outstanding. The first request is lost then: nobody can be
// told of it. Each test runs in a process of its own, because the lost request is never freed.

#include <vector>

#include "faults/hosts/child_process.h"
#include "faults/hosts/host_test.h"

using namespace tavtest;

namespace {

class ReusedHandle : public HostTest {
 protected:
  ReusedHandle() { EXPECT_EQ(TAVInitialize(), 1); }

  // The error of a pop, and whether it hands the handle out.
  unsigned pop() {
    TAVASYNC* popped = nullptr;
    const unsigned code = error_of(TAVASyncPop(&popped, address()));
    handed_out = popped == &async;
    return code;
  }

  TAVASYNC async{};
  unsigned first = 0;
  unsigned second = 0;
  bool handed_out = false;
};

}  // namespace

TEST_F(ReusedHandle, IsToldOfTheSecondRequestOnly) {
  EXPECT_EQ(failed_part([this]() -> std::vector<bool> {
              TAVQueryVersionAs(address(), &first, &async);
              const FakeServer::Request lost = server.receive();
              const bool sent = error_of(TAVQueryVersionAs(address(), &second, &async)) == 14;
              server.answer(lost);
              const bool ignored = pop() == 14 && !handed_out && async.Request != nullptr;
              server.answer_all();
              return {sent, ignored, pop() == 0, handed_out, second == 0x00010002, async.Request == nullptr};
            }),
            0);
}

TEST_F(ReusedHandle, IsToldOfTheSecondRequestByItsStatus) {
  EXPECT_EQ(failed_part([this]() -> std::vector<bool> {
              TAVQueryVersionAs(address(), &first, &async);
              TAVQueryVersionAs(address(), &second, &async);
              return {TAVASyncStatus(&async, 1) == 1, second == 0x00010002, async.Request == nullptr,
                      pop() == 14, !handed_out};
            }),
            0);
}

TEST_F(ReusedHandle, OfABusyEnumerationIsEmptyAndTheEnumerationGoesOn) {
  EXPECT_EQ(failed_part([this]() -> std::vector<bool> {
              _TAVENTRYA entry{};
              TAVQueryEnum* query = nullptr;
              TAVQueryStartA(&entry, 0, 0, address(), 0, &query);
              TAVQueryNextAsA(query, &entry, &async);
              const bool busy = error_of(TAVQueryNextAsA(query, &entry, &async)) == 15;
              const bool empty = async.Request == nullptr;
              server.answer_all();
              const bool ignored = pop() == 14 && !handed_out;
              const bool arrived = entry.address == 1;
              const bool next = TAVQueryNextA(query, &entry) == 1 && entry.address == 2;
              TAVQueryClose(query);
              return {busy, empty, ignored, arrived, next};
            }),
            0);
}

TEST_F(ReusedHandle, OfAnEnumerationThatWasClosedLeavesNothingToWriteTo) {
  EXPECT_EQ(failed_part([this]() -> std::vector<bool> {
              _TAVENTRYA entry{};
              TAVQueryEnum* query = nullptr;
              TAVQueryStartA(&entry, 0, 0, address(), 0, &query);
              TAVQueryNextAsA(query, &entry, &async);
              TAVQueryVersionAs(address(), &second, &async);
              TAVQueryClose(query);
              server.answer_all();
              return {pop() == 14, pop() == 0, handed_out, entry.address == 0, second == 0x00010002};
            }),
            0);
}

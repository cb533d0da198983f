#include <gtest/gtest.h>
#include <tavlib/error_numbers.h>
#include <tavlib/platform/error_state.h>
#include <tavlib/protocol/packet.h>

#include <cstdint>
#include <type_traits>
#include <vector>

#include "protocol/entry_widths.h"
#include "protocol/packet_image.h"
#include "support/allocation_faults.h"
#include "support/oracle.h"
#include "support/wire_packet.h"

// Each allocation of a routine fails in turn. What was allocated before it must be released: a leak ends the
// run under a sanitizer.

namespace {

using tavtest::AllocationFaults;
using tavtest::Bytes;
using tavtest::CallerEntry;
using tavtest::holds;
using tavtest::Narrow;
using tavtest::OwnedEntry;
using tavtest::owns_nothing;
using tavtest::PacketImage;
using tavtest::Wide;

// What malloc itself leaves behind, and what demarshalling sets.
constexpr unsigned kNoMemory = 12;

/// Runs `routine` on an entry with its first, second, ... allocation failing, until it gets by without the
/// one that fails. Every failure must give 0, null pointers and no error but 12.
template <class Width, class Routine>
void fail_each_allocation(Routine routine) {
  for (int nth = 0;; ++nth) {
    OwnedEntry<Width> result;
    auto& target = result.target();
    SetOsError(0);
    int status = 0;
    bool failed = false;
    {
      const AllocationFaults faults(nth);
      status = routine(target);
      failed = faults.happened();
    }
    if (!failed) {
      EXPECT_EQ(status, 1);
      EXPECT_GE(nth, 4) << "three texts and a block are allocated";
      return;
    }
    EXPECT_EQ(status, 0) << "allocation " << nth;
    EXPECT_EQ(GetOsError(), kNoMemory) << "allocation " << nth;
    EXPECT_TRUE(owns_nothing(result.entry)) << "allocation " << nth;
  }
}

template <class TypeParam>
class OutOfMemory : public ::testing::Test {
 protected:
  CallerEntry<TypeParam> source;

  void SetUp() override { source.user("user").string2("second").string3("third").data("block"); }
};

TYPED_TEST_SUITE(OutOfMemory, tavtest::Widths);

TYPED_TEST(OutOfMemory, DemarshallingReports12) {
  const auto packet = PacketImage().byte(4, 2).packet();
  unsigned size = 4096;
  ASSERT_EQ(TypeParam::marshal(&this->source.entry, packet.get(), &size, 1), 1);
  fail_each_allocation<TypeParam>(
      [&](auto& target) { return TypeParam::demarshal(target, packet.get(), 0); });
}

TYPED_TEST(OutOfMemory, DemarshallingStoresTheCountsOfWhatItCouldKeep) {
  const auto packet = PacketImage().byte(4, 2).packet();
  unsigned size = 4096;
  ASSERT_EQ(TypeParam::marshal(&this->source.entry, packet.get(), &size, 1), 1);
  using Lengths = std::vector<std::uint32_t>;
  constexpr std::uint32_t old = 0xEEEEEEEE;
  const Lengths expected[] = {{old, old, old, old}, {4, old, old, old}, {4, 6, old, old}, {4, 6, 5, old}};
  for (int nth = 0; nth < 4; ++nth) {
    OwnedEntry<TypeParam> result;
    auto& target = result.target();
    {
      const AllocationFaults faults(nth);
      TypeParam::demarshal(target, packet.get(), 0);
    }
    EXPECT_EQ((Lengths{target.userLength, target.string2Length, target.string3Length, target.dataLength}),
              expected[nth])
        << "allocation " << nth;
  }
}

TYPED_TEST(OutOfMemory, DuplicatingAddsNoErrorOfItsOwn) {
  fail_each_allocation<TypeParam>([&](auto& target) { return TypeParam::dup(target, this->source.entry); });
}

TYPED_TEST(OutOfMemory, ConvertingAddsNoErrorOfItsOwn) {
  if constexpr (std::is_same_v<TypeParam, Narrow>) {
    fail_each_allocation<Wide>([&](auto& target) { return EntryAToW(target, this->source.entry); });
  } else {
    fail_each_allocation<Narrow>([&](auto& target) { return EntryWToA(target, this->source.entry); });
  }
}

TYPED_TEST(OutOfMemory, MarshallingNeedsNone) {
  const auto packet = PacketImage().byte(4, 2).packet();
  unsigned size = 4096;
  int status = 0;
  bool failed = true;
  {
    const AllocationFaults faults(0);
    status = TypeParam::marshal(&this->source.entry, packet.get(), &size, 1);
    failed = faults.happened();
  }
  EXPECT_EQ(status, 1);
  EXPECT_FALSE(failed);
}

TEST(OutOfMemoryFraming, GivesNoMemoryAndWritesNothing) {
  Bytes datagram = tavtest::frame_request(tavtest::make_packet(1, 5), "phrase");
  datagram.resize(datagram.size() + 8);
  const PacketImage before(0xEE);
  const auto packet = before.packet();
  CBlowfish cipher("phras", 5);
  unsigned status = 0;
  {
    const AllocationFaults faults(0);
    status = DeBlowPacket(packet.get(), 4096, datagram.data(), &cipher);
  }
  EXPECT_EQ(status, unsigned{TAV_E_NOMEMORY});
  EXPECT_TRUE(holds(*packet, before));
  EXPECT_EQ(DeBlowPacket(packet.get(), 4096, datagram.data(), &cipher), 0U) << "usable afterwards";
}

}  // namespace

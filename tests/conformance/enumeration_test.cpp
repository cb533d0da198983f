// Enumerations and additions against one server, with 8-bit and with wide texts, blocking and not.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "conformance/entry_widths.h"
#include "conformance/host.h"
#include "conformance/tavsim.h"

namespace tavtest {
namespace {

template <typename Width>
class Enumeration : public testing::Test {
 protected:
  using Entry = typename Width::Entry;

  TAVQueryEnum* start(const Entry& filter = {}, unsigned mask = 0) {
    TAVQueryEnum* query = nullptr;
    EXPECT_EQ(Width::start(&filter, mask, 0, server_.number(), 0, &query), 1);
    return query;
  }

  // The names of all entries that match.
  std::vector<std::string> names(const Entry& filter = {}, unsigned mask = 0) {
    std::vector<std::string> result;
    TAVQueryEnum* query = start(filter, mask);
    Entry entry{};
    while (Width::next(query, &entry) == 1)
      result.push_back(ascii(entry.user));
    EXPECT_EQ(TAVGetLastError(), 6U);
    TAVQueryClose(query);
    return result;
  }

  Tavsim server_{TavsimOptions{"127.0.0.1", "secret", sample_entries}};
  TestConfig config_{{server_.configured()}};
  Library library_;
};

using Widths = testing::Types<Narrow, Wide>;
TYPED_TEST_SUITE(Enumeration, Widths);

TYPED_TEST(Enumeration, BringsEveryEntryInTheServersOrder) {
  EXPECT_EQ(this->names(),
            (std::vector<std::string>{"ANNA KVIST", "BRAM OSEI", "FINN O.LEARY", "LOGGED OUT"}));
}

TYPED_TEST(Enumeration, BringsWhatTheMaskSelects) {
  typename TypeParam::Entry filter{};
  filter.word7 = 2;
  EXPECT_EQ(this->names(filter, 0x020), (std::vector<std::string>{"BRAM OSEI", "FINN O.LEARY"}));
}

TYPED_TEST(Enumeration, SendsTheFiltersTexts) {
  auto user = text<TypeParam>("Anna Kvist");
  typename TypeParam::Entry filter{};
  filter.user = user.data();
  EXPECT_EQ(this->names(filter, 0x001), (std::vector<std::string>{"ANNA KVIST"}));
}

TYPED_TEST(Enumeration, CopiesTheFilter) {
  auto user = text<TypeParam>("Anna Kvist");
  typename TypeParam::Entry filter{};
  filter.user = user.data();
  TAVQueryEnum* query = this->start(filter, 0x001);
  user = text<TypeParam>("Bram  Osei");
  typename TypeParam::Entry entry{};
  EXPECT_EQ(TypeParam::next(query, &entry), 1);
  EXPECT_EQ(ascii(entry.user), "ANNA KVIST");
  TAVQueryClose(query);
}

TYPED_TEST(Enumeration, BringsEveryFieldOfAnEntry) {
  typename TypeParam::Entry filter{};
  filter.address = 0x0c00010a;
  TAVQueryEnum* query = this->start(filter, 0x010);
  typename TypeParam::Entry entry{};
  ASSERT_EQ(TypeParam::next(query, &entry), 1);
  EXPECT_EQ(ascii(entry.user), "BRAM OSEI");
  EXPECT_EQ(ascii(entry.string2), "BOSEI");
  EXPECT_EQ(ascii(entry.string3), "FINANCE");
  EXPECT_EQ(std::vector<int>(entry.data, entry.data + entry.dataLength), (std::vector<int>{0, 1, 255}));
  EXPECT_EQ(entry.address, 0x0c00010aU);
  EXPECT_EQ(entry.tag, 7U);
  EXPECT_EQ(entry.word7, 2U);
  EXPECT_EQ(entry.flag8, 1U);
  EXPECT_EQ(entry.word9, 9U);
  EXPECT_EQ(entry.word10, 10U);
  EXPECT_EQ(entry.word11, 11U);
  EXPECT_EQ(entry.word12, 0U);
  EXPECT_EQ(entry.word14, 14U);
  EXPECT_EQ(entry.userLength, 9U);
  EXPECT_EQ(entry.string2Length, 5U);
  EXPECT_EQ(entry.string3Length, 7U);
  TAVQueryClose(query);
}

TYPED_TEST(Enumeration, ReplacesQuotesAndLeavesMissingTextsNull) {
  typename TypeParam::Entry filter{};
  filter.address = 0x0d00010a;
  TAVQueryEnum* query = this->start(filter, 0x010);
  typename TypeParam::Entry entry{};
  ASSERT_EQ(TypeParam::next(query, &entry), 1);
  EXPECT_EQ(ascii(entry.user), "FINN O.LEARY");
  EXPECT_EQ(ascii(entry.string2), "SAY .HI.");
  EXPECT_EQ(entry.string3, nullptr);
  EXPECT_EQ(entry.data, nullptr);
  TAVQueryClose(query);
}

TYPED_TEST(Enumeration, LeavesTheRecordAloneAtTheEnd) {
  typename TypeParam::Entry filter{};
  filter.address = 1;
  TAVQueryEnum* query = this->start(filter, 0x010);
  typename TypeParam::Entry entry{};
  entry.tag = 1234;
  EXPECT_EQ(error_of(TypeParam::next(query, &entry)), 6U);
  EXPECT_EQ(entry.tag, 1234U);
  EXPECT_EQ(error_of(TypeParam::next(query, &entry)), 6U) << "a further step is allowed";
  TAVQueryClose(query);
}

TYPED_TEST(Enumeration, AsynchronousStepIsPopped) {
  TAVQueryEnum* query = this->start();
  typename TypeParam::Entry entry{};
  TAVASYNC async{};
  async.Context = &entry;
  ASSERT_EQ(error_of(TypeParam::next_as(query, &entry, &async)), 14U);
  ASSERT_TRUE(is_readable(TAVASyncSocket(&async)));
  TAVASYNC* done = nullptr;
  EXPECT_EQ(TAVASyncPop(&done, this->server_.number()), 1);
  ASSERT_EQ(done, &async);
  EXPECT_EQ(done->Context, &entry);
  EXPECT_EQ(done->Request, nullptr);
  EXPECT_EQ(ascii(entry.user), "ANNA KVIST");
  TAVQueryClose(query);
}

TYPED_TEST(Enumeration, AsynchronousStepIsWaitedFor) {
  TAVQueryEnum* query = this->start();
  typename TypeParam::Entry entry{};
  TAVASYNC async{};
  ASSERT_EQ(error_of(TypeParam::next_as(query, &entry, &async)), 14U);
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_EQ(async.Request, nullptr);
  EXPECT_EQ(ascii(entry.user), "ANNA KVIST");
  TAVQueryClose(query);
}

TYPED_TEST(Enumeration, AsynchronousEndIsToldAsAFailure) {
  typename TypeParam::Entry filter{};
  filter.address = 1;
  TAVQueryEnum* query = this->start(filter, 0x010);
  typename TypeParam::Entry entry{};
  TAVASYNC async{};
  ASSERT_EQ(error_of(TypeParam::next_as(query, &entry, &async)), 14U);
  ASSERT_TRUE(is_readable(TAVASyncSocket(&async)));
  TAVASYNC* done = nullptr;
  EXPECT_EQ(error_of(TAVASyncPop(&done, this->server_.number())), 6U);
  EXPECT_EQ(done, &async);
  EXPECT_EQ(async.Request, nullptr);
  TAVQueryClose(query);
}

TYPED_TEST(Enumeration, ASecondStepWhileOneIsOutstandingIsBusy) {
  TAVQueryEnum* query = this->start();
  typename TypeParam::Entry entry{};
  typename TypeParam::Entry second{};
  TAVASYNC async{};
  TAVASYNC busy{};
  ASSERT_EQ(error_of(TypeParam::next_as(query, &entry, &async)), 14U);
  EXPECT_EQ(error_of(TypeParam::next_as(query, &second, &busy)), 15U);
  EXPECT_EQ(busy.Request, nullptr);
  EXPECT_NE(async.Request, nullptr);
  EXPECT_EQ(error_of(TypeParam::next(query, &second)), 15U);
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_EQ(ascii(entry.user), "ANNA KVIST");
  TAVQueryClose(query);
}

TYPED_TEST(Enumeration, SeveralRunSideBySide) {
  TAVQueryEnum* first = this->start();
  TAVQueryEnum* second = this->start();
  typename TypeParam::Entry entry{};
  typename TypeParam::Entry other{};
  TAVASYNC async{};
  ASSERT_EQ(TypeParam::next(first, &entry), 1);
  ASSERT_EQ(error_of(TypeParam::next_as(first, &entry, &async)), 14U);
  ASSERT_EQ(TypeParam::next(second, &other), 1) << "waits on the socket that the first one's answer uses";
  EXPECT_EQ(ascii(other.user), "ANNA KVIST");
  EXPECT_EQ(TAVASyncStatus(&async, 1), 1);
  EXPECT_EQ(ascii(entry.user), "BRAM OSEI");
  TAVQueryClose(first);
  TAVQueryClose(second);
}

TYPED_TEST(Enumeration, SeesAnAddedEntry) {
  auto user = text<TypeParam>("Gita \"Gigi\" Rao");
  auto group = text<TypeParam>("Reception");
  typename TypeParam::Entry added{};
  added.user = user.data();
  added.string3 = group.data();
  added.address = 0x0f00010a;
  ASSERT_EQ(TypeParam::add(&added), 2);
  EXPECT_EQ(TAVGetLastError(), 0U);
  typename TypeParam::Entry filter{};
  filter.address = 0x0f00010a;
  EXPECT_EQ(this->names(filter, 0x010), (std::vector<std::string>{"GITA .GIGI. RAO"}));
}

TYPED_TEST(Enumeration, AnEntryTooLargeForAPacketIsNotSent) {
  auto user = text<TypeParam>(std::string(1000, 'u'));  // 100 + 4 * 1000 bytes
  typename TypeParam::Entry entry{};
  entry.user = user.data();
  TAVSetLastError(99);
  EXPECT_EQ(TypeParam::add(&entry), 0);
  EXPECT_EQ(TAVGetLastError(), 99U) << "an addition that nobody took leaves the last error alone";
  TAVQueryEnum* query = this->start(entry);
  typename TypeParam::Entry answer{};
  EXPECT_EQ(error_of(TypeParam::next(query, &answer)), 11U);
  TAVQueryClose(query);
}

TYPED_TEST(Enumeration, AnUnknownServerIsFoundOutAtTheFirstStep) {
  typename TypeParam::Entry entry{};
  TAVQueryEnum* query = nullptr;
  ASSERT_EQ(TypeParam::start(&entry, 0, 0, address_of("127.0.0.9"), 0, &query), 1);
  EXPECT_EQ(error_of(TypeParam::next(query, &entry)), 11U);
  TAVQueryClose(query);
}

TYPED_TEST(Enumeration, OutlivesTheLibraryHarmlessly) {
  TAVQueryEnum* query = this->start();
  TAVExit();
  typename TypeParam::Entry entry{};
  EXPECT_EQ(error_of(TypeParam::next(query, &entry)), 7U);
  ASSERT_EQ(TAVInitialize(), 1);
  EXPECT_EQ(error_of(TypeParam::next(query, &entry)), 7U) << "it belongs to the library's former life";
  TAVQueryClose(query);
}

TEST(QueryClose, IgnoresNull) {
  TAVSetLastError(99);
  TAVQueryClose(nullptr);
  EXPECT_EQ(TAVGetLastError(), 99U);
}

}  // namespace
}  // namespace tavtest

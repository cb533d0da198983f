#include "protocol/request_ids.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <thread>
#include <vector>

#include "protocol/server_interface_fixture.h"

namespace {

using tavtest::TransportTest;

/// Ids are given out from a chosen one on, until the object ends; then from where they were.
class RequestIdsFrom {
 public:
  explicit RequestIdsFrom(std::uint32_t first) {
    tavlib::last_request_id = static_cast<std::int32_t>(first - 1);
  }
  ~RequestIdsFrom() { tavlib::last_request_id = before_; }

  RequestIdsFrom(const RequestIdsFrom&) = delete;
  RequestIdsFrom& operator=(const RequestIdsFrom&) = delete;

 private:
  const long before_ = tavlib::last_request_id;
};

// Transports of different threads share the count.
TEST(RequestIds, AreDifferentInEveryThread) {
  constexpr std::size_t each = 5000;
  std::vector<unsigned> ids(4 * each);
  std::vector<std::thread> threads;
  for (std::size_t thread = 0; thread < 4; ++thread) {
    threads.emplace_back([&ids, thread] {
      for (std::size_t i = 0; i < each; ++i)
        ids[thread * each + i] = tavlib::next_request_id();
    });
  }
  for (std::thread& thread : threads)
    thread.join();
  std::sort(ids.begin(), ids.end());
  EXPECT_EQ(std::adjacent_find(ids.begin(), ids.end()), ids.end());
  EXPECT_EQ(ids.back() - ids.front(), ids.size() - 1);
}

TEST(RequestIds, GoOnWithZeroBehindTheLastOf32Bits) {
  const RequestIdsFrom ids(0xFFFFFFFE);
  for (const unsigned id : {0xFFFFFFFEU, 0xFFFFFFFFU, 0U, 1U, 2U})
    EXPECT_EQ(tavlib::next_request_id(), id);
}

TEST(RequestIds, AreUnsignedOnEveryHost) {
  const RequestIdsFrom ids(0x7FFFFFFF);
  for (const unsigned id : {0x7FFFFFFFU, 0x80000000U, 0x80000001U})
    EXPECT_EQ(tavlib::next_request_id(), id);
}

class RequestIdsOnTheWire : public TransportTest {};

TEST_F(RequestIdsOnTheWire, AreAllAsGoodAsAnyOther) {
  const RequestIdsFrom ids(0xFFFFFFFF);
  Request requests[3];
  for (const unsigned id : {0xFFFFFFFFU, 0U, 1U}) {
    Request& request = requests[id + 1];
    const auto sent = start(request);
    EXPECT_EQ(sent.id(), id);
    EXPECT_EQ(request.registeredId, id);
    server.reply_status(sent);
    EXPECT_EQ(transport.CompleteRequest(), &request);
    EXPECT_EQ(request.status, 0U);
  }
}

TEST_F(RequestIdsOnTheWire, OfZeroCanBeAbandoned) {
  const RequestIdsFrom ids(0);
  Request request;
  const auto sent = start(request);
  transport.AbandonRequest(&request);
  EXPECT_EQ(request.status, 17U);
  server.reply_status(sent);
  EXPECT_EQ(transport.CompleteRequest(), nullptr);
}

}  // namespace

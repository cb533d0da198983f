#include "support/call_faults.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <unordered_set>
#include <utility>

#include "support/own_allocations.h"

namespace tavtest {
namespace {

thread_local int section_depth = 0;

bool is_the_librarys() {
  return section_depth != 0 && !OwnAllocations::now();
}

struct State {
  bool living = false;
  std::vector<CallFaults::Fault> plan;
  std::size_t calls = 0;
  std::string previous;
  std::map<std::string, std::size_t> in_step;
  std::vector<CallFaults::Hit> hits;
  std::vector<CallFaults::Hit> all_hits;
  std::unordered_set<const void*> blocks;
  std::vector<int> left_open;
};

// Never destroyed: calls go on until the very end of the process.
State& state() {
  static auto& one = *new State;
  return one;
}

}  // namespace

LibrarySection::LibrarySection() {
  ++section_depth;
}
LibrarySection::~LibrarySection() {
  --section_depth;
}

std::size_t CallFaults::Hit::made(const std::string& name) const {
  const auto found = before.find(name);
  return found == before.end() ? 0 : found->second;
}

CallFaults::CallFaults(std::vector<Fault> plan) {
  if (state().living) throw std::logic_error("only one CallFaults at a time");
  state().living = true;
  state().plan = std::move(plan);
  state().calls = 0;
  state().all_hits.clear();
  begin_step();
}

CallFaults::~CallFaults() {
  state().living = false;
}

void CallFaults::begin_step() {
  state().previous.clear();
  state().in_step.clear();
  state().hits.clear();
}

const std::vector<CallFaults::Hit>& CallFaults::hits() const {
  return state().hits;
}

const std::vector<CallFaults::Hit>& CallFaults::all_hits() const {
  return state().all_hits;
}

std::size_t CallFaults::calls() const {
  return state().calls;
}

const Way* way_to_fail(const char* call, std::span<const Way> ways, std::size_t size) {
  if (!is_the_librarys() || !state().living) return nullptr;
  const int error_number = errno;
  const OwnAllocations own;
  State& now = state();
  ++now.calls;
  ++now.in_step[call];
  const std::string previous = std::exchange(now.previous, call);
  const auto planned = std::find_if(now.plan.begin(), now.plan.end(),
                                    [&](const auto& fault) { return fault.number == now.calls; });
  errno = error_number;
  if (planned == now.plan.end()) return nullptr;

  const Way& way = ways[planned->way % ways.size()];
  now.hits.push_back({now.calls, call, way.name, way.error_number, ways.size(), size, previous, now.in_step});
  now.all_hits.push_back(now.hits.back());
  errno = way.error_number == 0 ? error_number : way.error_number;
  return &way;
}

bool allocation_refused(const char* call, std::size_t size) {
  static constexpr Way ways[] = {{"ENOMEM", ENOMEM}};
  return way_to_fail(call, ways, size) != nullptr;
}

void* note_block(void* block) {
  if (block == nullptr || !is_the_librarys()) return block;
  const OwnAllocations own;
  state().blocks.insert(block);
  return block;
}

void note_release(void* block) {
  if (block == nullptr || OwnAllocations::now()) return;
  const OwnAllocations own;
  state().blocks.erase(block);
}

std::size_t living_blocks() {
  return state().blocks.size();
}

void note_left_open(int fd) {
  if (!is_the_librarys()) return;
  const OwnAllocations own;
  state().left_open.push_back(fd);
}

std::size_t close_left_open() {
  const std::vector<int> left = std::exchange(state().left_open, {});
  for (const int fd : left)
    close(fd);
  return left.size();
}

}  // namespace tavtest

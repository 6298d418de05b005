#include "tests/memory/failing_new.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace kivtest {
namespace {

thread_local Who t_who = Who::kNobody;
std::atomic<Who> g_who{Who::kNobody};
std::atomic<std::uint64_t> g_left{0};
std::atomic<bool> g_andOn{false};
std::atomic<bool> g_failed{false};

bool IsTheOne() {
  if (t_who == Who::kNobody || t_who != g_who.load()) return false;
  std::uint64_t left = g_left.load();
  while (left != 0) {
    if (left == 1 && g_andOn.load()) break;
    if (g_left.compare_exchange_weak(left, left - 1)) break;
  }
  if (left != 1) return false;
  g_failed = true;
  return true;
}

}  // namespace

void IAm(Who who) { t_who = who; }

void FailNew(Who who, std::uint64_t n, bool andOn) {
  g_left = 0;
  g_failed = false;
  g_andOn = andOn;
  g_who = who;
  g_left = n;
}

bool NewFailed() { return g_failed; }

}  // namespace kivtest

void* operator new(std::size_t sizeBytes) {
  if (kivtest::IsTheOne()) throw std::bad_alloc();
  void* const block = std::malloc(sizeBytes != 0 ? sizeBytes : 1);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

// Qt loses the slot of a connection for which it finds no memory.
extern "C" const char* __lsan_default_suppressions();  // NOLINT(bugprone-reserved-identifier)
extern "C" const char* __lsan_default_suppressions() { return "leak:QObject::connect"; }

#include "tests/channels/failing_copies.h"

#include <cstddef>

namespace kivtest {
namespace {

int leftZeroings = 0;  // 0: none fails
int leftCopies = 0;
bool happened = false;

bool IsTheOne(int& left) {
  if (left == 0 || --left > 0) return false;
  happened = true;
  return true;
}

}  // namespace

FailingCopy::FailingCopy(Kind kind, int nth) {
  happened = false;
  (kind == Kind::kZeroing ? leftZeroings : leftCopies) = nth;
}

FailingCopy::~FailingCopy() { leftZeroings = leftCopies = 0; }

bool FailingCopy::Happened() const { return happened; }

}  // namespace kivtest

#define MEMSET_S "_ZN7bounded8memset_sEPvmim"
#define MEMCPY_S "_ZN7bounded8memcpy_sEPvmPKvm"

int RealMemset(void* destination, std::size_t destinationBytes, int value,
               std::size_t countBytes) __asm__("__real_" MEMSET_S);
int WrapMemset(void* destination, std::size_t destinationBytes, int value,
               std::size_t countBytes) __asm__("__wrap_" MEMSET_S);
int RealMemcpy(void* destination, std::size_t destinationBytes, const void* source,
               std::size_t countBytes) __asm__("__real_" MEMCPY_S);
int WrapMemcpy(void* destination, std::size_t destinationBytes, const void* source,
               std::size_t countBytes) __asm__("__wrap_" MEMCPY_S);

int WrapMemset(void* destination, std::size_t destinationBytes, int value, std::size_t countBytes) {
  const int result = RealMemset(destination, destinationBytes, value, countBytes);
  return kivtest::IsTheOne(kivtest::leftZeroings) ? kivtest::kBoundedError : result;
}

int WrapMemcpy(void* destination, std::size_t destinationBytes, const void* source,
               std::size_t countBytes) {
  if (kivtest::IsTheOne(kivtest::leftCopies)) return kivtest::kBoundedError;
  return RealMemcpy(destination, destinationBytes, source, countBytes);
}

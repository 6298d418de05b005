#include "platform/bounded/bounded.h"

#include <cerrno>
#include <cstring>

namespace bounded {
namespace {

bool Overlap(const void* a, const void* b, std::size_t countBytes) {
  const auto first = reinterpret_cast<std::uintptr_t>(a);
  const auto second = reinterpret_cast<std::uintptr_t>(b);
  return first < second ? second - first < countBytes : first - second < countBytes;
}

int CopyError(const void* destination, std::size_t destinationBytes, const void* source,
              std::size_t countBytes) {
  if (source == nullptr) return EINVAL;
  if (countBytes > destinationBytes) return ERANGE;
  return Overlap(destination, source, countBytes) ? EINVAL : 0;
}

}  // namespace

int memset_s(void* destination, std::size_t destinationBytes, int value, std::size_t countBytes) {
  if (destination == nullptr) return EINVAL;
  if (destinationBytes > kRsizeMax) return ERANGE;
  const bool tooMany = countBytes > destinationBytes;
  std::memset(destination, value, tooMany ? destinationBytes : countBytes);
  return tooMany ? ERANGE : 0;
}

int memcpy_s(void* destination, std::size_t destinationBytes, const void* source,
             std::size_t countBytes) {
  if (destination == nullptr) return EINVAL;
  if (destinationBytes > kRsizeMax) return ERANGE;
  const int error = CopyError(destination, destinationBytes, source, countBytes);
  if (error != 0) {
    std::memset(destination, 0, destinationBytes);
  } else {
    std::memcpy(destination, source, countBytes);
  }
  return error;
}

}  // namespace bounded

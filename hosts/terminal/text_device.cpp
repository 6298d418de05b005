#include "hosts/terminal/text_device.h"

#include <cstdint>

#include "platform/base/version_query.h"

namespace kiv {
namespace {

constexpr std::uint32_t kAllToController = 246;  // a variant
constexpr std::uint32_t kAllToShell = 38;        // a product

}  // namespace

bool TakesLinesAsText() {
  return CVersion::GetVersion() == kAllToController || CProductVersion::GetVersion() == kAllToShell;
}

}  // namespace kiv

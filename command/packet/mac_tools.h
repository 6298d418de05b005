// MacTools: a typed MAC path as the 18-byte routing header.
//
// Threads: any; no state.
#pragma once

#include <array>
#include <cstdint>

#include "platform/text/qc_string.h"

namespace SvcKivClass {

using RoutingHeader = std::array<std::uint8_t, 18>;  // three hops of six bytes

// Static functions only; see the form of a path at PathToHeader.
class MacTools {
 public:
  static constexpr std::uint32_t kMaxHops = 3;

  // Hops are separated by "->". 0 on success, 23 for a malformed hop or a fourth one (then
  // `*hopCount` is 3). The header is zeroed first; hops before a bad one are left converted.
  static std::uint32_t PathToHeader(const QCString& path, RoutingHeader& header,
                                    std::uint32_t* hopCount);
};

}  // namespace SvcKivClass

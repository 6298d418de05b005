// Where a packet goes: the routing option at the end of a parameter text, and how its path is
// posted.
//
// Threads: any; no state.
#pragma once

#include <cstdint>

#include "command/packet/mac_tools.h"
#include "platform/text/qc_string.h"

namespace SvcKivClass {

// The parameter rest with its routing option taken off.
struct MacSplit {
  QCString rest;     // what stands before the last option, trimmed
  QCString macPath;  // empty: none
};

// Options are "-r " (plain path), "-rf " (broadcast) and "-d " (direct), in either case, with their
// blank. The last one begins the path; a "-rf " or "-d " anywhere puts its prefix in front of the
// path.
MacSplit SplitMacPath(const QCString& parameterRest);

enum class PostForm { kPlain, kDirect, kRouted };

// How a MAC path is posted. `status` is non-zero for a path that cannot be converted.
struct PostRoute {
  PostForm form = PostForm::kPlain;
  std::uint32_t directNumber = 0;  // kDirect: last argument of PostCmd
  RoutingHeader header{};          // kRouted
  std::uint32_t status = 0;
};

// An empty path is plain; one that begins with "d->" (in this case only) is direct, and what stands
// behind its last ">" is the number, 0 when it is none; any other is routed.
PostRoute RouteOf(const QCString& macPath);

}  // namespace SvcKivClass

// The platform's framer and deframer as functions over the tests' own frames.
//
// Threads: pure functions, but for the deframer that is handed in.
#pragma once

#include <vector>

#include "platform/devlink/deframer.h"
#include "platform/devlink/frame_head.h"
#include "tests/platform/devlink/naive_frames.h"

namespace linktest {

devlink::FrameHead HeadOf(const NaiveFrame& frame);
NaiveFrame FrameOf(const devlink::FrameHead& head, std::span<const std::uint8_t> payload);

// The line that the platform writes for a frame.
Bytes Encode(const NaiveFrame& frame);

// What the deframer gives when it is fed the line cut at these places (ascending).
std::vector<Bytes> Deframe(devlink::Deframer& deframer, const Bytes& line,
                           const std::vector<std::size_t>& cuts = {});

}  // namespace linktest

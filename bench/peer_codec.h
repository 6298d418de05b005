// The peer: Protocol Buffers' text format doing the same work. Its text is parsed into a message
// and the message packed into the same body; the body is unpacked into a message, printed, and the
// printed lines laid out as the same text. Both conversions are plain code for the one layout.
//
// Threads: one at a time (messages are used again, as a careful user of the library would).
// Errors: null or false when the text does not parse or the body has another size.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "bench/bench_shapes.h"

namespace peer {

// A pool block of `*lengthBytes` bytes.
std::uint8_t* Encode(bench_shapes::Shape shape, const std::string& text,
                     std::uint32_t* lengthBytes);

// A pool block with the text, a line feed in front and a zero behind; `*lengthChars` counts
// neither.
wchar_t* Render(bench_shapes::Shape shape, std::span<const std::uint8_t> body,
                std::size_t* lengthChars);

}  // namespace peer

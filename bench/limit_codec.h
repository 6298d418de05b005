// The limit: for each layout of bench_shapes.h, code that knows this one layout and nothing else,
// as one would write it by hand. The same checks of the same line, the same bytes, the same text.
//
// Threads: any; no state but constant row texts. Errors: null when the line is not exactly what the
// layout takes, or the body has another size.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "bench/bench_shapes.h"

namespace limit {

// A pool block of `*lengthBytes` bytes.
std::uint8_t* Encode(bench_shapes::Shape shape, std::wstring_view line, std::uint32_t* lengthBytes);

// A pool block with the text, a line feed in front and a zero behind; `*lengthChars` counts
// neither.
wchar_t* Render(bench_shapes::Shape shape, std::span<const std::uint8_t> body,
                std::size_t* lengthChars);

}  // namespace limit

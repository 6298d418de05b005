// CompletionSource: whom the line editor asks what the line under edit may become.
//
// Threads: the main thread. Errors: none; nothing known is nothing offered.
#pragma once

#include <cstddef>
#include <string_view>

#include "hosts/bench/line_completion.h"

namespace kiv {

class CompletionSource {
 public:
  virtual ~CompletionSource() = default;

  // `cursor` is in wchar_t. Texts may be shown meanwhile; the prompt is back when it returns.
  virtual hostbench::Completion Complete(std::wstring_view line, std::size_t cursor) = 0;
};

}  // namespace kiv

// ChunkForm: how a channel makes a packet of a chunk of text: a head of some bytes, the text in the
// 8-bit code page, zero bytes behind it that are not posted, and the service that posts it.
//
// Threads: used on the thread that sends. Owns nothing.
#pragma once

#include <cstdint>
#include <functional>

namespace SvcKivClass {

// See the head of this file.
struct ChunkForm {
  const wchar_t* traceName;  // of the debug line when the packet cannot be zeroed
  std::uint32_t headBytes;
  std::uint32_t tailBytes;
  // The head is zeroed before; `textBytes` is the length of the text in bytes.
  void (*fillHead)(std::uint8_t* head, std::uint32_t textBytes);
  // Head and text; whether it was posted.
  std::function<bool(const std::uint8_t* packet, std::uint32_t lengthBytes)> post;
};

}  // namespace SvcKivClass

// StoredFile: what a device says of the file that it holds, read from the answer to the command
// "load_info".
//
// Threads: any. Owns its text. Errors: nothing when the answer has no such fields.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace kiv {

inline constexpr wchar_t kStoredFileCommand[] = L"load_info";

struct StoredFile {
  std::uint64_t sizeBytes = 0;
  std::string sha256;  // 64 digits, small letters
};

// The fields "size_bytes" and "sha256" of the confirmation's body.
std::optional<StoredFile> ReadStoredFile(std::uint32_t cmdId, std::span<const std::uint8_t> body);
// Bytes as two small hexadecimal digits each.
std::string HexDigits(std::span<const std::uint8_t> bytes);

}  // namespace kiv

// Result codes: one table serves the link's result-code texts and docs/result-codes.md.
//
// Threads: any.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/platform_export.h"
#include "platform/text/qc_string.h"

namespace result {
// What the code names; the other rows of the table are only looked up.
inline constexpr std::uint32_t kOk = 0;
inline constexpr std::uint32_t kNotSupported = 1;
inline constexpr std::uint32_t kNoDocument = 2;
inline constexpr std::uint32_t kPacketTooLong = 22;
inline constexpr std::uint32_t kBadAddress = 23;
inline constexpr std::uint32_t kNotTaken = 50;
inline constexpr std::uint32_t kNoFile = 51;
inline constexpr std::uint32_t kFileUnusable = 53;
inline constexpr std::uint32_t kNoMemory = 500;
inline constexpr std::uint32_t kNotConnected = 502;
inline constexpr std::uint32_t kCatalogueDamaged = 520;
inline constexpr std::uint32_t kNoSuchCommand = 521;
inline constexpr std::uint32_t kBodySize = 522;
inline constexpr std::uint32_t kWrongTree = 523;
inline constexpr std::uint32_t kGroupMissing = 3004;
inline constexpr std::uint32_t kInstanceMissing = 3005;
inline constexpr std::uint32_t kSaveFailed = 3018;
inline constexpr std::uint32_t kLinkDown = 3207;
inline constexpr std::uint32_t kZeroWidth = 4001;
inline constexpr std::uint32_t kBadKeys = 10007;
inline constexpr std::uint32_t kWrongSuffix = 10012;
inline constexpr std::uint32_t kFailure = 0xFFFFFFFFu;

// One result code.
struct Entry {
  std::uint32_t code;
  const char* name;  // lower case with underscores, for documents and machine output
  const char* text;  // one line of English, marked for translation
};

// The whole table, in ascending order of code.
KIVPLATFORM_API const Entry* Table(std::size_t* count);
// Null for a code that is not in the table.
KIVPLATFORM_API const Entry* Find(std::uint32_t code);
// The English text of a code; "result %u" for one that is not in the table, never empty.
KIVPLATFORM_API QCString Text(std::uint32_t code);
}  // namespace result

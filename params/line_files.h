// The three kinds of file that a parameter line can name.
//
// Threads: any; no state. Owns nothing: each file is closed again before the call returns.
// Errors: false, with `errorText` set (a binary file that is too short sets none).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/text/qc_string.h"

namespace SvcKivClass {

// The longest line that references may make, in characters: a bound for memory only.
inline constexpr std::size_t kMaxLineChars = std::size_t{64} * 1024 * 1024;
// The most references that are replaced in one line. A packet has room for some 2,000 values, so no
// line of use comes near; a file that names another twice, which names another twice, and so on,
// gets here within a second and long before the line is too long.
inline constexpr std::size_t kMaxReferences = std::size_t{1024} * 1024;

// Every line up to its first "#", each followed by one blank. `content` is replaced.
bool ReadCommandFile(const QCString& path, std::wstring& content, QCString& errorText);
// Every line whole, each followed by one blank. `content` is replaced.
bool ReadTextFile(const QCString& path, std::wstring& content, QCString& errorText);
// Exactly `bufferBytes` bytes from the file's start; a longer file is read no further.
bool ReadBinaryFile(const QCString& path, std::uint8_t* buffer, std::uint32_t bufferBytes,
                    QCString& errorText);

// "Failed to open " and the path, for every file that is there and cannot be used.
QCString FailedToOpenText(const QCString& path);

}  // namespace SvcKivClass

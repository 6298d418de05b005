#include "command/flash_load.h"

namespace SvcKivClass {

LoadOpening FlashLoad::Open(const QCString& path, std::uint32_t maxSizeBytes) {
  constexpr DWORD kUnshared = 0;
  file_ = CreateFileW(path.c_str(), GENERIC_READ, kUnshared, nullptr, OPEN_EXISTING,
                      FILE_ATTRIBUTE_NORMAL, nullptr);
  if (!IsOpen()) return FailOpening(LoadOpening::kNotOpened);
  if (!ReadSize() || sizeBytes_ > maxSizeBytes) return FailOpening(LoadOpening::kRefused);
  const std::uint64_t chunks = (sizeBytes_ + kChunkBytes - 1) / kChunkBytes;
  // A count that wraps would make the device take the file for a short one.
  if (chunks > kMaxChunks) return FailOpening(LoadOpening::kRefused);
  if (!watch_.Begin(file_, path.c_str())) return FailOpening(LoadOpening::kRefused);
  index_ = 0;
  count_ = static_cast<std::uint16_t>(chunks);
  return LoadOpening::kOpen;
}

bool FlashLoad::ReadSize() {
  DWORD high = 0;
  const DWORD low = GetFileSize(file_, &high);
  if (low == INVALID_FILE_SIZE && GetLastError() != 0) return false;
  sizeBytes_ = std::uint64_t{high} << 32 | low;
  return true;
}

ChunkReading FlashLoad::Read(std::uint16_t index) {
  hasChanged_ = false;
  // Below 2^27, so the position needs no upper half.
  const auto position = static_cast<LONG>(index * kChunkBytes);
  if (SetFilePointer(file_, position, nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER) {
    return FailReading(ChunkReading::kNotPositioned);
  }
  const std::uint32_t wantedBytes = LengthBytesOf(index);
  DWORD gotBytes = 0;
  const BOOL done = ReadFile(file_, buffer_.data(), wantedBytes, &gotBytes, nullptr);
  if (done == 0 || gotBytes != wantedBytes) return FailReading(ChunkReading::kNotRead);
  // After the read: what was read before a change is still the file that was opened.
  return watch_.Look() == os::WatchedFile::kSame ? ChunkReading::kRead
                                                 : FailReading(ChunkReading::kChanged);
}

std::uint32_t FlashLoad::LengthBytesOf(std::uint16_t index) const noexcept {
  if (!IsLast(index)) return kChunkBytes;
  return static_cast<std::uint32_t>(sizeBytes_ - std::uint64_t{index} * kChunkBytes);
}

void FlashLoad::Close() noexcept {
  if (IsOpen()) CloseHandle(file_);
  file_ = INVALID_HANDLE_VALUE;
}

// The error is that of the failure: neither looking nor closing well touches it.
LoadOpening FlashLoad::FailOpening(LoadOpening result) {
  Close();
  error_ = GetLastError();
  return result;
}

ChunkReading FlashLoad::FailReading(ChunkReading result) {
  hasChanged_ = watch_.Look() != os::WatchedFile::kSame;
  Close();
  error_ = GetLastError();
  return result;
}

}  // namespace SvcKivClass

#include "hosts/terminal/stored_file.h"

#include <string_view>

#include "platform/base/result_codes.h"
#include "platform/catalogue/param_codec.h"

namespace kiv {
namespace {

constexpr std::size_t kSha256Bytes = 32;

}  // namespace

std::string HexDigits(std::span<const std::uint8_t> bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text;
  for (const std::uint8_t byte : bytes) {
    text += kDigits[byte >> 4];
    text += kDigits[byte & 15];
  }
  return text;
}

std::optional<StoredFile> ReadStoredFile(std::uint32_t cmdId, std::span<const std::uint8_t> body) {
  CParamCodec codec(nullptr);
  CParamNode tree;
  const DecodeDescriptor descriptor{cmdId, DecodeDescriptor::kCnf,
                                    static_cast<std::uint32_t>(body.size())};
  if (codec.Decode(descriptor, body.data(), tree, CategoryIdType::Any) != result::kOk) return {};
  StoredFile file;
  bool hasSize = false;
  for (CParamNode* node = tree.GetFirstChild(); node != nullptr; node = node->GetNextNeighbor()) {
    const std::wstring_view name = node->GetVariableName();
    std::uint8_t* bytes = nullptr;
    std::uint64_t lengthBytes = 0;
    if (name == L"size_bytes") hasSize = node->GetValue(&file.sizeBytes) == result::kOk;
    if (name == L"sha256" && node->GetValueBuf(&bytes, &lengthBytes) == result::kOk &&
        lengthBytes == kSha256Bytes) {
      file.sha256 = HexDigits({bytes, kSha256Bytes});
    }
  }
  if (!hasSize || file.sha256.empty()) return {};
  return file;
}

}  // namespace kiv

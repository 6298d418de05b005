#include "hosts/terminal/load_layout.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <vector>

#include "platform/base/result_codes.h"
#include "platform/catalogue/param_codec.h"

namespace kiv {
namespace {

constexpr std::size_t kChunkBytes = 2048;

// 0 for what is no single value.
std::uint64_t GreatestOf(const CParamNode& node) {
  std::uint64_t value = 0;
  std::int32_t isSigned = 0;
  if (node.GetValue(&value) != result::kOk) return 0;
  node.IsSignedValue(&isSigned);
  const std::uint32_t bits = node.GetSizeOfDataType() * 8 - (isSigned != 0 ? 1 : 0);
  return bits >= 64 ? ~std::uint64_t{0} : (std::uint64_t{1} << bits) - 1;
}

// The body without the data, once so many bytes of it are used.
std::vector<std::uint8_t> BodyAround(CParamNode& root, CParamNode& data, std::size_t usedBytes) {
  const std::array<std::uint8_t, 2> bytes{};
  data.SetValueBuf(bytes.data(), usedBytes);
  const std::uint8_t* const body = root.GetBody();
  std::vector<std::uint8_t> around(body, body + root.GetBodyBytes());
  const auto begin = around.begin() + data.GetOffsetInBody();
  around.erase(begin, begin + data.GetSizeInStruct());
  return around;
}

std::wstring_view Trimmed(std::wstring_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(L' '), text.size()));
  return text.substr(0, text.find_last_not_of(L' ') + 1);
}

}  // namespace

LoadLayout LoadLayoutOf(std::uint32_t cmdId) {
  CParamCodec codec(nullptr);
  CParamNode root;
  if (codec.QueryDefaultParam(cmdId, CmdIdType::Any, root) != result::kOk) return {};
  const CParamNode* const index = root.GetFirstChild();
  const CParamNode* const count = index != nullptr ? index->GetNextNeighbor() : nullptr;
  CParamNode* const firstField = root.GetFirstChild();
  CParamNode* const data =
      count != nullptr ? firstField->GetNextNeighbor()->GetNextNeighbor() : nullptr;
  const std::vector<std::uint8_t> chunk(kChunkBytes);
  if (data == nullptr || data->SetValueBuf(chunk.data(), chunk.size()) != result::kOk) return {};
  const std::uint64_t greatestIndex = GreatestOf(*index);
  if (greatestIndex == 0) return {};
  LoadLayout layout;
  layout.mostChunks = std::min(greatestIndex, GreatestOf(*count));
  layout.carriesLength = BodyAround(root, *data, 1) != BodyAround(root, *data, 2);
  return layout;
}

bool IsLoadWord(std::wstring_view word) {
  return std::equal(word.begin(), word.end(), std::begin(kLoadWord), std::end(kLoadWord) - 1,
                    [](wchar_t typed, wchar_t small) {
                      return typed == small || (typed < 0x80 && typed + 0x20 == small);
                    });
}

std::wstring_view WordOf(std::wstring_view line) {
  line.remove_prefix(std::min(line.find_first_not_of(L' '), line.size()));
  return line.substr(0, line.find(L' '));
}

std::wstring_view RestOf(std::wstring_view line) {
  line = Trimmed(line);
  return Trimmed(line.substr(std::min(line.find(L' '), line.size())));
}

std::optional<std::wstring> LoadPathOf(std::wstring_view line) {
  if (!IsLoadWord(WordOf(line))) return {};
  return std::wstring(RestOf(line));
}

}  // namespace kiv

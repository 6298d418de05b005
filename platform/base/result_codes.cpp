#include "platform/base/result_codes.h"

#include <algorithm>
#include <iterator>
#include <string>

namespace result {
namespace {

// The same rows as in docs/result-codes.md; a test compares them.
constexpr Entry kTable[] = {
    {kOk, "ok", L"ok"},
    {kNotSupported, "not_supported", L"not supported"},
    {kNoDocument, "no_document", L"no settings document is open"},
    {kPacketTooLong, "too_long", L"too long"},
    {kBadAddress, "bad_route", L"malformed routing path"},
    {kNotTaken, "not_taken", L"not for this channel"},
    {kNoFile, "file_missing", L"file not found"},
    {kFileUnusable, "file_unusable", L"file cannot be opened"},
    {kNoMemory, "no_memory", L"not enough memory"},
    {kNotConnected, "not_connected", L"not connected"},
    {kCatalogueDamaged, "catalogue_damaged", L"the catalogue file is damaged"},
    {kNoSuchCommand, "no_such_command", L"the catalogue has no such command"},
    {kBodySize, "body_size", L"the size is not that of the structure"},
    {kWrongTree, "wrong_tree", L"the values are those of another command"},
    {700, "unknown_command", L"unknown command"},
    {701, "body_short", L"request body too short"},
    {702, "body_long", L"request body too long"},
    {703, "bad_value", L"a value is out of range"},
    {704, "not_enabled", L"not turned on at the device"},
    {705, "no_such_item", L"no such item"},
    {706, "storage_failed", L"storage failed"},
    {707, "storage_full", L"no room left in the storage"},
    {708, "figures_failed", L"the system's figures could not be read"},
    {709, "busy", L"busy"},
    {710, "version_refused", L"protocol version not spoken"},
    {711, "token_refused", L"token refused"},
    {712, "device_failed", L"internal failure of the device"},
    {kGroupMissing, "group_missing", L"the group is not in the file"},
    {kInstanceMissing, "instance_missing", L"session or instance not found"},
    {kSaveFailed, "save_failed", L"the file could not be saved"},
    {kLinkDown, "link_down", L"the device is not connected"},
    {kZeroWidth, "zero_width", L"array elements of width 0"},
    {kBadKeys, "bad_keys", L"the imported keys are invalid"},
    {kWrongSuffix, "wrong_suffix", L"wrong file name suffix"},
};

}  // namespace

const Entry* Table(std::size_t* count) {
  if (count != nullptr) *count = std::size(kTable);
  return kTable;
}

QCString Text(std::uint32_t code) {
  const auto* const row = std::lower_bound(
      std::begin(kTable), std::end(kTable), code,
      [](const Entry& entry, std::uint32_t wanted) { return entry.code < wanted; });
  if (row != std::end(kTable) && row->code == code) return QCString(row->text);
  return QCString(L"result " + std::to_wstring(code));
}

}  // namespace result

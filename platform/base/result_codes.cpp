#include "platform/base/result_codes.h"

#include <algorithm>
#include <iterator>
#include <string>

// Marks the texts for the translators' tool, which knows the macro by this name. This layer does
// not use Qt; who shows a text to a user translates it.
#define QT_TRANSLATE_NOOP(context, text) text

namespace result {
namespace {

// The same rows as in docs/result-codes.md; a test compares them.
constexpr Entry kTable[] = {
    {kOk, "ok", QT_TRANSLATE_NOOP("QObject", "ok")},
    {kNotSupported, "not_supported", QT_TRANSLATE_NOOP("QObject", "not supported")},
    {kNoDocument, "no_document", QT_TRANSLATE_NOOP("QObject", "no settings document is open")},
    {kPacketTooLong, "too_long", QT_TRANSLATE_NOOP("QObject", "too long")},
    {kBadAddress, "bad_route", QT_TRANSLATE_NOOP("QObject", "malformed routing path")},
    {kNotTaken, "not_taken", QT_TRANSLATE_NOOP("QObject", "not for this channel")},
    {kNoFile, "file_missing", QT_TRANSLATE_NOOP("QObject", "file not found")},
    {kFileUnusable, "file_unusable", QT_TRANSLATE_NOOP("QObject", "file cannot be opened")},
    {kNoMemory, "no_memory", QT_TRANSLATE_NOOP("QObject", "not enough memory")},
    {kNotConnected, "not_connected", QT_TRANSLATE_NOOP("QObject", "not connected")},
    {kCatalogueDamaged, "catalogue_damaged",
     QT_TRANSLATE_NOOP("QObject", "the catalogue file is damaged")},
    {kNoSuchCommand, "no_such_command",
     QT_TRANSLATE_NOOP("QObject", "the catalogue has no such command")},
    {kBodySize, "body_size", QT_TRANSLATE_NOOP("QObject", "the size is not that of the structure")},
    {kWrongTree, "wrong_tree",
     QT_TRANSLATE_NOOP("QObject", "the values are those of another command")},
    {700, "unknown_command", QT_TRANSLATE_NOOP("QObject", "unknown command")},
    {701, "body_short", QT_TRANSLATE_NOOP("QObject", "request body too short")},
    {702, "body_long", QT_TRANSLATE_NOOP("QObject", "request body too long")},
    {703, "bad_value", QT_TRANSLATE_NOOP("QObject", "a value is out of range")},
    {704, "not_enabled", QT_TRANSLATE_NOOP("QObject", "not turned on at the device")},
    {705, "no_such_item", QT_TRANSLATE_NOOP("QObject", "no such item")},
    {706, "storage_failed", QT_TRANSLATE_NOOP("QObject", "storage failed")},
    {707, "storage_full", QT_TRANSLATE_NOOP("QObject", "no room left in the storage")},
    {708, "figures_failed", QT_TRANSLATE_NOOP("QObject", "the system's figures could not be read")},
    {709, "busy", QT_TRANSLATE_NOOP("QObject", "busy")},
    {710, "version_refused", QT_TRANSLATE_NOOP("QObject", "protocol version not spoken")},
    {711, "token_refused", QT_TRANSLATE_NOOP("QObject", "token refused")},
    {712, "device_failed", QT_TRANSLATE_NOOP("QObject", "internal failure of the device")},
    {713, "no_load", QT_TRANSLATE_NOOP("QObject", "no load is under way")},
    {714, "load_order", QT_TRANSLATE_NOOP("QObject", "not the next part of the load")},
    {715, "load_count", QT_TRANSLATE_NOOP("QObject", "a wrong number of parts")},
    {716, "load_length", QT_TRANSLATE_NOOP("QObject", "a part of a wrong length")},
    {717, "load_too_large",
     QT_TRANSLATE_NOOP("QObject", "the file is larger than the device takes")},
    {718, "load_repeated", QT_TRANSLATE_NOOP("QObject", "a repeated part has other bytes")},
    {719, "load_damaged", QT_TRANSLATE_NOOP("QObject", "what was stored is not what was sent")},
    {kGroupMissing, "group_missing", QT_TRANSLATE_NOOP("QObject", "the group is not in the file")},
    {kInstanceMissing, "instance_missing",
     QT_TRANSLATE_NOOP("QObject", "session or instance not found")},
    {kSaveFailed, "save_failed", QT_TRANSLATE_NOOP("QObject", "the file could not be saved")},
    {kLinkDown, "link_down", QT_TRANSLATE_NOOP("QObject", "the device is not connected")},
    {kZeroWidth, "zero_width", QT_TRANSLATE_NOOP("QObject", "array elements of width 0")},
    {kBadKeys, "bad_keys", QT_TRANSLATE_NOOP("QObject", "the imported keys are invalid")},
    {kWrongSuffix, "wrong_suffix", QT_TRANSLATE_NOOP("QObject", "wrong file name suffix")},
};

}  // namespace

const Entry* Table(std::size_t* count) {
  if (count != nullptr) *count = std::size(kTable);
  return kTable;
}

const Entry* Find(std::uint32_t code) {
  const auto* const row = std::lower_bound(
      std::begin(kTable), std::end(kTable), code,
      [](const Entry& entry, std::uint32_t wanted) { return entry.code < wanted; });
  return row != std::end(kTable) && row->code == code ? row : nullptr;
}

QCString Text(std::uint32_t code) {
  const Entry* const row = Find(code);
  return row != nullptr ? QCString::FromUtf8(row->text)
                        : QCString(L"result " + std::to_wstring(code));
}

}  // namespace result

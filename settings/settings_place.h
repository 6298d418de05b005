// SettingsPlace: where the settings of one console instance stand in a document, and the tags above
// them.
//
//   SourceData             0
//     SESSION  ID          0.S
//       INSTANCE  ID       0.S.I
//         DEFAULT          0.S.I.0        instancePath
//           groups, lists  0.S.I.0.0
//             CMD          0.S.I.0.0.n
//
// Threads: values.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/text/qc_string.h"
#include "platform/xml/xml_config.h"

namespace SvcKivClass {

inline constexpr wchar_t kRootTag[] = L"SourceData";
inline constexpr wchar_t kSessionTag[] = L"SESSION";
inline constexpr wchar_t kInstanceTag[] = L"INSTANCE";
inline constexpr wchar_t kDefaultTag[] = L"DEFAULT";
inline constexpr wchar_t kSessionTagPath[] = L"SourceData.SESSION";
inline constexpr wchar_t kInstanceTagPath[] = L"SourceData.SESSION.INSTANCE";
inline constexpr wchar_t kDefaultTagPath[] = L"SourceData.SESSION.INSTANCE.DEFAULT";
inline constexpr wchar_t kSettingsPrefix[] = L"SourceData.SESSION.INSTANCE.DEFAULT.";
inline constexpr wchar_t kIdAttribute[] = L"ID";
inline constexpr wchar_t kRootPath[] = L"0";

// The last argument of AddConfigNode.
inline constexpr std::int32_t kParentMustExist = 0;
inline constexpr std::int32_t kCreateMissing = 1;
// The argument of Save.
inline constexpr std::int32_t kSaveFlag = 1;

// Both empty until an instance was found: nothing is then found or written.
struct SettingsPlace {
  QCString prefix = {};        // kSettingsPrefix
  QCString instancePath = {};  // of DEFAULT

  QCString Element(const wchar_t* tag) const { return prefix + tag; }
  // The tag path of DEFAULT itself.
  QCString DefaultElement() const;
  // Of each group and each list's container.
  QCString GroupPath() const { return instancePath + L".0"; }
  // Of a list's entry.
  QCString EntryPath(std::size_t position) const;

  bool operator==(const SettingsPlace&) const = default;
};

// A position behind an instance path.
QCString ChildPath(const QCString& parentPath, std::size_t position);

// Writes one attribute; a node that is missing is added, with its ancestors, and the attribute
// written once more. `instancePath` may leave positions out at its end. What was added is gone
// again when the attribute could not be written: 3004 for a position beyond the next one, 3005 for
// a name that no attribute can have.
std::uint32_t WriteAddingNode(CXmlConfig& document, const QCString& value,
                              const QCString& attribute, const QCString& element,
                              const QCString& instancePath);

// Finds session and instance by their ids. 3005: one is not there; 3004: the instance has no
// settings. On failure `place` is unchanged.
std::uint32_t FindSettings(const CXmlConfig& document, std::uint32_t sessionId,
                           std::uint32_t instanceId, SettingsPlace& place);

// An id as the document has it.
QCString IdText(std::uint32_t id);

}  // namespace SvcKivClass

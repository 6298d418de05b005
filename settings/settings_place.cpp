#include "settings/settings_place.h"

#include <algorithm>
#include <string>

#include "platform/base/result_codes.h"

namespace SvcKivClass {
namespace {

// The node of which `instancePath` names a child: one position less than the element has tags.
QCString ParentPath(const QCString& element, const QCString& instancePath) {
  const std::wstring& path = instancePath.str();
  const auto tags = std::count(element.str().begin(), element.str().end(), L'.') + 1;
  const auto positions = std::count(path.begin(), path.end(), L'.') + 1;
  return positions < tags ? instancePath : instancePath.Left(path.rfind(L'.'));
}

std::uint32_t AddNode(CXmlConfig& document, const QCString& element, const QCString& instancePath) {
  const std::size_t dot = element.ReverseFind(L'.');
  if (dot == QCString::npos) return result::kGroupMissing;
  return document.AddConfigNode(element.Mid(dot + 1), element.Left(dot),
                                ParentPath(element, instancePath), kCreateMissing);
}

}  // namespace

QCString SettingsPlace::DefaultElement() const {
  return prefix.IsEmpty() ? prefix : prefix.Left(prefix.GetLength() - 1);
}

QCString SettingsPlace::EntryPath(std::size_t position) const {
  return ChildPath(GroupPath(), position);
}

QCString ChildPath(const QCString& parentPath, std::size_t position) {
  return parentPath + L"." + std::to_wstring(position).c_str();
}

std::uint32_t WriteAddingNode(CXmlConfig& document, const QCString& value,
                              const QCString& attribute, const QCString& element,
                              const QCString& instancePath) {
  const std::uint32_t status = document.WriteAttrValue(value, attribute, element, instancePath);
  if (status != result::kGroupMissing) return status;
  const std::uint32_t added = AddNode(document, element, instancePath);
  if (added != result::kOk) return added;
  const std::uint32_t written = document.WriteAttrValue(value, attribute, element, instancePath);
  if (written != result::kOk) document.TakeBackAdded();
  return written;
}

std::uint32_t FindSettings(const CXmlConfig& document, std::uint32_t sessionId,
                           std::uint32_t instanceId, SettingsPlace& place) {
  QCString path = kRootPath;
  if (document.FindAttrValByTagPath(kIdAttribute, IdText(sessionId), kSessionTagPath, path,
                                    nullptr) != result::kOk) {
    return result::kInstanceMissing;
  }
  path += L".0";
  if (document.FindAttrValByTagPath(kIdAttribute, IdText(instanceId), kInstanceTagPath, path,
                                    nullptr) != result::kOk) {
    return result::kInstanceMissing;
  }
  path += L".0";
  if (document.GetNode(kDefaultTagPath, path) != result::kOk) return result::kGroupMissing;
  place = {kSettingsPrefix, path};
  return result::kOk;
}

QCString IdText(std::uint32_t id) { return QCString(std::to_wstring(id)); }

}  // namespace SvcKivClass

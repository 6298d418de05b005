#include "tests/settings/recording_xml.h"

#include <algorithm>
#include <string_view>

namespace kivtest {
namespace {

constexpr std::wstring_view kSettings = L"SourceData.SESSION.INSTANCE.DEFAULT.";

std::string Node(const QCString& tagPath, const QCString& instancePath) {
  return ShownTags(tagPath) + " " + ShownPositions(tagPath, instancePath);
}

}  // namespace

std::string ShownTags(const QCString& tagPath) {
  if (!tagPath.StartsWith(kSettings)) return tagPath.ToUtf8();
  return "~" + tagPath.Mid(kSettings.size()).ToUtf8();
}

std::string ShownPositions(const QCString& tagPath, const QCString& instancePath) {
  const auto levels = [](const QCString& path) {
    return path.IsEmpty() ? 0 : 1 + std::count(path.str().begin(), path.str().end(), L'.');
  };
  QCString positions = instancePath;
  for (auto have = levels(positions); have < levels(tagPath); ++have) {
    positions += have == 0 ? L"0" : L".0";
  }
  for (auto have = levels(positions); have > levels(tagPath); --have) {
    const std::size_t point = positions.ReverseFind(L'.');
    positions = positions.Left(point == QCString::npos ? 0 : point);
  }
  return positions.ToUtf8();
}

template <typename What, typename Operation>
std::uint32_t RecordingXml::Note(What what, Operation operation) const {
  if (depth_ > 0) return operation();
  const std::string noted = tape_.isOn ? label_ + what() : std::string();
  ++depth_;
  const bool fails = tape_.failAt > 0 && --tape_.failAt == 0;
  if (fails) tape_.hasFailed = true;
  const std::uint32_t code = fails ? tape_.failCode : operation();
  --depth_;
  if (tape_.isOn) tape_.calls.push_back(noted + (code == 0 ? "" : " = " + std::to_string(code)));
  return code;
}

std::uint32_t RecordingXml::ReadAttrValue(QCString& value, const QCString& attribute,
                                          const QCString& tagPath,
                                          const QCString& instancePath) const {
  return Note([&] { return "read " + attribute.ToUtf8() + " of " + Node(tagPath, instancePath); },
              [&] { return CXmlConfig::ReadAttrValue(value, attribute, tagPath, instancePath); });
}

std::uint32_t RecordingXml::WriteAttrValue(const QCString& value, const QCString& attribute,
                                           const QCString& tagPath, const QCString& instancePath) {
  return Note(
      [&] {
        return "write " + attribute.ToUtf8() + "=" + value.ToUtf8() + " of " +
               Node(tagPath, instancePath);
      },
      [&] { return CXmlConfig::WriteAttrValue(value, attribute, tagPath, instancePath); });
}

std::uint32_t RecordingXml::FindAttrValByTagPath(const QCString& attribute, const QCString& value,
                                                 const QCString& tagPath, QCString& instancePath,
                                                 void* reserved) const {
  return Note(
      [&] {
        return "find " + attribute.ToUtf8() + "=" + value.ToUtf8() + " of " + ShownTags(tagPath) +
               " from " + instancePath.ToUtf8() + (reserved == nullptr ? "" : " reserved");
      },
      [&] {
        return CXmlConfig::FindAttrValByTagPath(attribute, value, tagPath, instancePath, reserved);
      });
}

std::uint32_t RecordingXml::AddConfigNode(const QCString& tag, const QCString& parentTagPath,
                                          const QCString& parentInstancePath,
                                          std::int32_t createMissing) {
  return Note(
      [&] {
        return "add " + tag.ToUtf8() + " under " + Node(parentTagPath, parentInstancePath) +
               (createMissing == 0 ? "" : " with ancestors");
      },
      [&] {
        return CXmlConfig::AddConfigNode(tag, parentTagPath, parentInstancePath, createMissing);
      });
}

std::uint32_t RecordingXml::GetSubNodeCount(std::uint32_t& count, const QCString& parentTagPath,
                                            const QCString& childTag,
                                            const QCString& parentInstancePath) const {
  return Note(
      [&] {
        return "count " + childTag.ToUtf8() + " under " + Node(parentTagPath, parentInstancePath);
      },
      [&] {
        return CXmlConfig::GetSubNodeCount(count, parentTagPath, childTag, parentInstancePath);
      });
}

std::uint32_t RecordingXml::GetSubNodeTags(QCList<QCString>& tags, const QCString& tagPath,
                                           const QCString& instancePath) const {
  return Note([&] { return "tags of " + Node(tagPath, instancePath); },
              [&] { return CXmlConfig::GetSubNodeTags(tags, tagPath, instancePath); });
}

std::uint32_t RecordingXml::GetNode(const QCString& tagPath, const QCString& instancePath) const {
  return Note([&] { return "node " + Node(tagPath, instancePath); },
              [&] { return CXmlConfig::GetNode(tagPath, instancePath); });
}

std::uint32_t RecordingXml::DeleteConfigNode(const QCString& tagPath,
                                             const QCString& instancePath) {
  return Note([&] { return "delete " + Node(tagPath, instancePath); },
              [&] { return CXmlConfig::DeleteConfigNode(tagPath, instancePath); });
}

std::uint32_t RecordingXml::DeleteConfigNode2(const QCString& tagPath, std::uint32_t index,
                                              const QCString& containerInstancePath) {
  const QCString container = tagPath.Left(tagPath.ReverseFind(L'.'));
  return Note(
      [&] {
        return "delete " + std::to_string(index) + " of " + ShownTags(tagPath) + " in " +
               ShownPositions(container, containerInstancePath);
      },
      [&] { return CXmlConfig::DeleteConfigNode2(tagPath, index, containerInstancePath); });
}

std::uint32_t RecordingXml::Save(std::int32_t flag) {
  return Note([&] { return "save " + std::to_string(flag); },
              [&] { return CXmlConfig::Save(flag); });
}

}  // namespace kivtest

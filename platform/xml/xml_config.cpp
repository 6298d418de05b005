#include "platform/xml/xml_config.h"

#include <optional>
#include <string>
#include <utility>

#include "platform/os/paths.h"
#include "platform/xml/node_index.h"
#include "platform/xml/node_path.h"
#include "platform/xml/settings_file.h"
#include "platform/xml/well_formed.h"
#include "platform/xml/xml_document.h"
#include "platform/xml/xml_text.h"

using xml_config::kAttributeMissing;
using xml_config::kCannotSave;
using xml_config::kNodeMissing;
using xml_config::kNotOpen;

namespace {

std::string Stored(const QCString& text) { return xml_text::Encode(text.view()); }

std::optional<NodePath> WithLevel(std::optional<NodePath> path, std::string tag,
                                  std::uint32_t position) {
  if (!path) return path;
  path->tags.push_back(std::move(tag));
  path->positions.push_back(position);
  return path;
}

}  // namespace

// The document, what finds nodes in it, and its file.
struct CXmlConfig::State {
  State(const QCString& path, xml_config::Options options)
      : file(os::MapPath(path.view()), std::move(options)), isOpen(file.Load(document)) {}

  // The element at a path, as far down as `levels`; null when it is not there.
  pugi::xml_node Node(const NodePath& path, std::size_t levels) {
    pugi::xml_node node = document.document_element();
    if (levels == 0 || path.tags[0] != node.name() || path.positions[0] != 0) return {};
    for (std::size_t i = 1; i < levels && node; ++i) {
      node = index.Child(node, path.tags[i], path.positions[i]);
    }
    return node;
  }
  pugi::xml_node Node(const NodePath& path) { return Node(path, path.tags.size()); }
  pugi::xml_node Node(const QCString& tagPath, const QCString& instancePath) {
    const auto path = ParseNodePath(tagPath, instancePath);
    return path ? Node(*path) : pugi::xml_node();
  }

  // As Node, but makes what is missing where the position is the next one.
  pugi::xml_node NodeOrNew(const NodePath& path) {
    pugi::xml_node node = Node(path, 1);
    for (std::size_t i = 1; i < path.tags.size() && node; ++i) {
      const pugi::xml_node child = index.Child(node, path.tags[i], path.positions[i]);
      const bool isNext = path.positions[i] == index.Count(node, path.tags[i]);
      node = child || !isNext ? child : Add(node, path.tags[i], i + 1);
    }
    return node;
  }

  // Null for what the file could not hold.
  pugi::xml_node Add(pugi::xml_node parent, const std::string& tag, std::size_t level) {
    if (level > well_formed::kMaxLevels || !well_formed::IsPlainName(tag)) return {};
    const pugi::xml_node child = index.Append(parent, tag);
    if (child && !addedTo) addedTo = parent, addedTag = tag;
    return child;
  }

  void TakeBackAdded() {
    if (!addedTo) return;
    index.Remove(addedTo, addedTag, index.Count(addedTo, addedTag) - 1);
    addedTo = {};
  }

  std::uint32_t Delete(const std::optional<NodePath>& path) {
    addedTo = {};
    if (!path || path->tags.size() < 2) return kNodeMissing;
    const pugi::xml_node parent = Node(*path, path->tags.size() - 1);
    if (!parent) return kNodeMissing;
    return index.Remove(parent, path->tags.back(), path->positions.back()) ? result::kOk
                                                                           : kNodeMissing;
  }

  pugi::xml_document document;
  NodeIndex index;
  SettingsFile file;
  bool isOpen;
  // The parent of the topmost node that the last AddConfigNode made, and that node's tag: it is the
  // last of it. Null: nothing can be taken back.
  pugi::xml_node addedTo = {};
  std::string addedTag = {};
};

CXmlConfig::CXmlConfig(const QCString& path, xml_config::Options options)
    : state_(std::make_unique<State>(path, std::move(options))) {}

CXmlConfig::~CXmlConfig() = default;

bool CXmlConfig::IsOpen() const { return state_->isOpen; }

QCString CXmlConfig::TakeNotice() { return QCString::FromUtf8(state_->file.TakeNotice()); }

int CXmlConfig::LastError() const { return state_->file.lastError(); }

std::uint32_t CXmlConfig::ReadAttrValue(QCString& value, const QCString& attribute,
                                        const QCString& tagPath,
                                        const QCString& instancePath) const {
  if (!state_->isOpen) return kNotOpen;
  const pugi::xml_node node = state_->Node(tagPath, instancePath);
  if (!node) return kNodeMissing;
  const pugi::xml_attribute found = node.attribute(attribute.ToUtf8().c_str());
  if (!found) return kAttributeMissing;
  value = QCString(xml_text::Decode<wchar_t>(found.value()));
  return result::kOk;
}

std::uint32_t CXmlConfig::WriteAttrValue(const QCString& value, const QCString& attribute,
                                         const QCString& tagPath, const QCString& instancePath) {
  if (!state_->isOpen) return kNotOpen;
  pugi::xml_node node = state_->Node(tagPath, instancePath);
  if (!node) return kNodeMissing;
  const std::string name = attribute.ToUtf8();
  pugi::xml_attribute found = node.attribute(name.c_str());
  if (!found && !well_formed::IsPlainName(name)) return kAttributeMissing;
  const bool isNew = !found;
  if (isNew) found = node.append_attribute(name.c_str());
  if (found.set_value(Stored(value).c_str())) return result::kOk;
  if (isNew) node.remove_attribute(found);
  return result::kNoMemory;
}

std::uint32_t CXmlConfig::FindAttrValByTagPath(const QCString& attribute, const QCString& value,
                                               const QCString& tagPath, QCString& instancePath,
                                               void* /*reserved*/) const {
  if (!state_->isOpen) return kNotOpen;
  const auto path = ParseNodePath(tagPath, instancePath);
  if (!path || path->tags.size() < 2) return kAttributeMissing;
  const std::size_t parentLevels = path->tags.size() - 1;
  const pugi::xml_node parent = state_->Node(*path, parentLevels);
  if (!parent) return kAttributeMissing;
  const std::string name = attribute.ToUtf8();
  const std::string& tag = path->tags.back();
  const std::size_t count = state_->index.Count(parent, tag);
  for (std::size_t i = path->positions.back(); i < count; ++i) {
    const pugi::xml_attribute found = state_->index.Child(parent, tag, i).attribute(name.c_str());
    // Compared as texts: a file may spell one text in several ways.
    if (!found || xml_text::Decode<wchar_t>(found.value()) != value.view()) continue;
    instancePath = QCString::FromUtf8(path->PositionsText(parentLevels) + "." + std::to_string(i));
    return result::kOk;
  }
  return kAttributeMissing;
}

std::uint32_t CXmlConfig::AddConfigNode(const QCString& tag, const QCString& parentTagPath,
                                        const QCString& parentInstancePath,
                                        std::int32_t createMissing) {
  if (!state_->isOpen) return kNotOpen;
  const auto path = ParseNodePath(parentTagPath, parentInstancePath);
  const std::string name = tag.ToUtf8();
  state_->addedTo = {};
  if (!path || path->tags.size() >= well_formed::kMaxLevels || !well_formed::IsPlainName(name)) {
    return kNodeMissing;
  }
  const pugi::xml_node parent = createMissing != 0 ? state_->NodeOrNew(*path) : state_->Node(*path);
  if (parent && state_->Add(parent, name, path->tags.size() + 1)) return result::kOk;
  state_->TakeBackAdded();
  return parent ? result::kNoMemory : kNodeMissing;
}

void CXmlConfig::TakeBackAdded() {
  if (state_->isOpen) state_->TakeBackAdded();
}

std::uint32_t CXmlConfig::GetSubNodeCount(std::uint32_t& count, const QCString& parentTagPath,
                                          const QCString& childTag,
                                          const QCString& parentInstancePath) const {
  count = 0;
  if (!state_->isOpen) return kNotOpen;
  const pugi::xml_node parent = state_->Node(parentTagPath, parentInstancePath);
  if (!parent) return kNodeMissing;
  count = static_cast<std::uint32_t>(state_->index.Count(parent, childTag.ToUtf8()));
  return result::kOk;
}

std::uint32_t CXmlConfig::GetSubNodeTags(QCList<QCString>& tags, const QCString& tagPath,
                                         const QCString& instancePath) const {
  tags.RemoveAll();
  if (!state_->isOpen) return kNotOpen;
  const pugi::xml_node node = state_->Node(tagPath, instancePath);
  if (!node) return kNodeMissing;
  for (const pugi::xml_node child : node.children()) {
    if (child.type() == pugi::node_element) tags.AddTail(QCString::FromUtf8(child.name()));
  }
  return result::kOk;
}

std::uint32_t CXmlConfig::GetNode(const QCString& tagPath, const QCString& instancePath) const {
  if (!state_->isOpen) return kNotOpen;
  return state_->Node(tagPath, instancePath) ? result::kOk : kNodeMissing;
}

std::uint32_t CXmlConfig::DeleteConfigNode(const QCString& tagPath, const QCString& instancePath) {
  if (!state_->isOpen) return kNotOpen;
  return state_->Delete(ParseNodePath(tagPath, instancePath));
}

std::uint32_t CXmlConfig::DeleteConfigNode2(const QCString& tagPath, std::uint32_t index,
                                            const QCString& containerInstancePath) {
  if (!state_->isOpen) return kNotOpen;
  const std::size_t dot = tagPath.ReverseFind(L'.');
  if (dot == QCString::npos) return kNodeMissing;
  return state_->Delete(WithLevel(ParseNodePath(tagPath.Left(dot), containerInstancePath),
                                  tagPath.Mid(dot + 1).ToUtf8(), index));
}

std::uint32_t CXmlConfig::Save(std::int32_t /*flag*/) {
  if (!state_->isOpen) return kNotOpen;
  return state_->file.Save(state_->document) == 0 ? result::kOk : kCannotSave;
}

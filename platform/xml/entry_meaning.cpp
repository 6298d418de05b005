#include "platform/xml/entry_meaning.h"

#include <string_view>
#include <utility>

#include "platform/xml/xml_document.h"
#include "platform/xml/xml_text.h"

namespace {

using xml_config::EntryTexts;

EntryTexts TextsOf(pugi::xml_node entry) {
  EntryTexts texts;
  for (const pugi::xml_attribute attribute : entry.attributes()) {
    texts[attribute.name()] = QCString(xml_text::Decode<wchar_t>(attribute.value()));
  }
  return texts;
}

}  // namespace

std::optional<std::string> EntryMeaning::Of(pugi::xml_node entry) {
  if (entry.type() != pugi::node_element) return std::nullopt;
  const std::size_t position = positions_[entry.name()]++;
  EntryTexts texts = TextsOf(entry);
  std::string below;
  if (storedAs_.entry) {
    const std::string tagPath = listTagPath_ + "." + entry.name();
    std::optional<EntryTexts> taken = storedAs_.entry(QCString::FromUtf8(tagPath), position, texts);
    if (!taken) return std::nullopt;
    texts = *std::move(taken);
  } else {
    for (const pugi::xml_node child : entry.children()) below += xml_document::Serialise(child);
  }
  std::string meaning = std::string("<") + entry.name();
  for (const auto& [name, text] : texts) {
    if (!text.IsEmpty()) meaning += " " + name + "=\"" + xml_text::Encode(text.view()) + '"';
  }
  return meaning + below;
}

std::string EntryMeaning::KeyOf(pugi::xml_node entry) {
  return Of(entry).value_or("not taken: " + xml_document::Serialise(entry));
}

std::string EntryMeaning::OfList(const xml_config::StoredAs& storedAs,
                                 const std::string& listTagPath,
                                 const std::vector<pugi::xml_node>& entries) {
  EntryMeaning one(storedAs, listTagPath);
  std::string meaning;
  std::size_t usedChars = 0;
  for (const pugi::xml_node entry : entries) {
    const std::optional<std::string> said = one.Of(entry);
    if (!said) continue;
    meaning += *said;
    if (said->size() > 1 + std::string_view(entry.name()).size()) usedChars = meaning.size();
  }
  meaning.resize(usedChars);
  return meaning;
}

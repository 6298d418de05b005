// A settings document from anywhere: what the strict check passes, the engine reads whole and
// writes so that it is read the same again. An input is up to three documents with a line "---"
// between them; three sound ones are merged as base, ours and theirs.
#include <cstdint>
#include <cstdlib>
#include <pugixml.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "platform/xml/well_formed.h"
#include "platform/xml/xml_document.h"
#include "platform/xml/xml_merge.h"
#include "platform/xml/xml_text.h"

namespace {

using xml_config::MergeKind;
using xml_document::Outcome;

constexpr std::string_view kRoot = "SourceData";
constexpr std::string_view kBetween = "\n---\n";
// Below this no merge comes to a thousand attributes of one element.
constexpr std::size_t kSmallBytes = 4096;

void Require(bool holds) {
  if (!holds) std::abort();
}

// Elements and attributes with their texts; white space between them may change.
std::string Essence(pugi::xml_node node) {
  std::string text = std::string("<") + node.name();
  for (const pugi::xml_attribute attribute : node.attributes()) {
    text += std::string(" ") + attribute.name() + "='" + attribute.value() + "'";
    const std::wstring value = xml_text::Decode<wchar_t>(attribute.value());
    Require(value == xml_text::Decode<wchar_t>(xml_text::Encode(std::wstring_view(value))));
  }
  for (const pugi::xml_node child : node.children()) {
    if (child.type() == pugi::node_element) text += Essence(child);
  }
  return text + ">";
}

bool ReadBothWays(std::string_view text, pugi::xml_document& document) {
  const bool isSound = xml_document::Parse(text, kRoot, document).outcome == Outcome::kSound;
  if (!isSound) return false;
  pugi::xml_document again;
  Require(xml_document::Parse(xml_document::Serialise(document), kRoot, again).outcome ==
          Outcome::kSound);
  Require(Essence(document.document_element()) == Essence(again.document_element()));
  return true;
}

void Merge(const pugi::xml_document (&documents)[3], bool isSmall) {
  xml_config::Options options;
  options.mergeRules = {
      {L"SourceData", MergeKind::kByAttribute, L"ID"},
      {L"SourceData.LIST", MergeKind::kAppended, nullptr},
      {L"SourceData.WHOLE", MergeKind::kWhole, nullptr},
  };
  options.unsetValues = {{nullptr, L""}};
  const std::string ours = Essence(documents[1].document_element());
  const xml_merge::Sides sides = {documents[0].document_element(), documents[1].document_element(),
                                  documents[2].document_element()};
  if (isSmall) {
    xml_merge::Merge(sides.base, sides.ours, sides.theirs, options);
  } else {
    xml_merge::MergeAnew(sides, options);
  }
  Require(ours == Essence(documents[1].document_element()));
  if (isSmall) Require(!well_formed::FindFault(xml_document::Serialise(documents[2])));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t lengthBytes) {
  std::string_view rest(reinterpret_cast<const char*>(data), lengthBytes);
  pugi::xml_document documents[3];
  std::size_t sound = 0;
  for (pugi::xml_document& document : documents) {
    const std::size_t end = rest.find(kBetween);
    sound += ReadBothWays(rest.substr(0, end), document) ? 1 : 0;
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + kBetween.size());
  }
  if (sound == 3) Merge(documents, lengthBytes <= kSmallBytes);
  return 0;
}

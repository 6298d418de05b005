#include "tools/kivcat/source_checker.h"

#include <algorithm>
#include <set>

#include "tools/kivcat/source_reader.h"
#include "tools/kivcat/taken_names.h"

namespace kivcat {
namespace {

using Need = ObjectReader::Need;
using Kind = SourceValue::Kind;

// Consoles ask for host words last.
void CheckHostWord(const SourceValue& word, const catalogue::Model& model, Faults& faults) {
  const bool isCommand =
      std::any_of(model.commands.begin(), model.commands.end(),
                  [&word](const catalogue::Command& one) { return one.name == word.text; });
  if (isCommand) {
    faults.Warning(word.place, "the host word \"" + word.text + "\" is a command already");
    return;
  }
  const std::string why = WhyNameIsTaken(word.text);
  if (!why.empty()) faults.Warning(word.place, why);
}

void ReadHostWords(const SourceValue& list, catalogue::Model& model, Faults& faults) {
  std::set<std::string> seen;
  for (const SourceValue& word : list.items) {
    if (word.kind != Kind::kText || word.text.empty() ||
        word.text.find_first_of(std::string_view(" \t\r\n\0", 5)) != std::string::npos) {
      faults.Error(word.place, "a host word must be a text without blanks");
    } else if (!seen.insert(word.text).second) {
      faults.Error(word.place, "the host word \"" + word.text + "\" stands twice");
    } else {
      CheckHostWord(word, model, faults);
      model.hostWords.push_back(word.text);
    }
  }
}

}  // namespace

bool FindScalar(std::string_view name, catalogue::Scalar& scalar) noexcept {
  for (std::uint32_t i = 0; i < catalogue::kScalarCount; ++i) {
    scalar = static_cast<catalogue::Scalar>(i);
    if (catalogue::ScalarName(scalar) == name) return true;
  }
  return false;
}

bool FitsScalar(const SourceValue& integer, catalogue::Scalar scalar) noexcept {
  const std::uint32_t bits = 8 * catalogue::WidthBytes(scalar);
  const bool isSigned = catalogue::IsSigned(scalar);
  if (integer.negative) {
    const std::uint64_t lowest = ~std::uint64_t{0} << (bits - 1);
    return isSigned && integer.magnitude >= lowest;
  }
  const std::uint64_t highest = ~std::uint64_t{0} >> (64 - bits + (isSigned ? 1 : 0));
  return integer.magnitude <= highest;
}

bool TakeNatural(ObjectReader& reader, bool whenLeftOut, Faults& faults) {
  const SourceValue* layout = reader.Take("layout", Kind::kText, Need::kOptional);
  if (layout == nullptr) return whenLeftOut;
  if (layout->text == "natural") return true;
  if (layout->text != "packed") {
    faults.Error(layout->place, "\"layout\" must be \"packed\" or \"natural\"");
  }
  return false;
}

bool LoadSource(std::string_view json, catalogue::Model& model, Faults& faults) {
  SourceValue root;
  if (!ReadSource(json, root, faults)) return false;
  ObjectReader reader(root, "the catalogue", faults);
  if (!reader.IsObject()) return false;
  reader.Take("$schema", Kind::kText, Need::kOptional);
  reader.TakeNumber("format", 1, 1, Need::kRequired);
  model.name = reader.TakeIdentifier("name", catalogue::kMaxIdentifierChars);
  model.text = reader.TakeText("text", Need::kOptional);
  const bool natural = TakeNatural(reader, false, faults);

  TypeNames names;
  if (const auto* list = reader.Take("enumerations", Kind::kList, Need::kOptional)) {
    ReadEnumerations(*list, model, names, faults);
  }
  if (const auto* list = reader.Take("types", Kind::kList, Need::kRequired)) {
    ReadStructures(*list, natural, model, names, faults);
  }
  if (const auto* list = reader.Take("commands", Kind::kList, Need::kRequired)) {
    ReadCommands(*list, model, names, faults);
  }
  if (const auto* list = reader.Take("host_words", Kind::kList, Need::kOptional)) {
    ReadHostWords(*list, model, faults);
  }
  reader.Finish();
  if (faults.HasErrors()) return false;
  catalogue::Seal(model);
  return true;
}

}  // namespace kivcat

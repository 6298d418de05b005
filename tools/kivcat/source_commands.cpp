// Commands of a source.
#include <set>

#include "tools/kivcat/source_checker.h"
#include "tools/kivcat/taken_names.h"

namespace kivcat {
namespace {

using catalogue::Combined;
using catalogue::Command;
using Need = ObjectReader::Need;
using Kind = SourceValue::Kind;

// A whole text of decimal digits, or "0x" and hexadecimal ones, of at most 32 bits.
bool ParseId(const std::string& text, std::uint32_t& id) {
  const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  const std::string digits = hexadecimal ? text.substr(2) : text;
  const std::uint32_t base = hexadecimal ? 16 : 10;
  if (digits.empty() || digits.size() > 10) return false;
  std::uint64_t value = 0;
  for (const char c : digits) {
    const std::size_t digit =
        std::string_view("0123456789abcdef").find(c >= 'A' && c <= 'F' ? c + 32 : c);
    if (digit >= base) return false;
    value = value * base + digit;
  }
  id = static_cast<std::uint32_t>(value);
  return value <= UINT32_MAX;
}

class CommandReader {
 public:
  CommandReader(catalogue::Model& model, const TypeNames& names, Faults& faults)
      : model_(model), names_(names), faults_(faults) {}

  void Read(const SourceValue& value) {
    ObjectReader reader(value, "a command", faults_);
    if (!reader.IsObject()) return;
    Command made;
    const bool hasId = TakeId(reader, made);
    made.name = reader.TakeIdentifier("name", catalogue::kMaxCommandNameChars);
    made.text = reader.TakeText("text", Need::kOptional);
    made.group = reader.TakeText("group", Need::kOptional);
    made.request = TakeStructure(reader, "request");
    made.confirmation = TakeStructure(reader, "confirmation");
    made.indication = TakeStructure(reader, "indication");
    made.listed = reader.TakeBoolean("listed", true);
    TakeCombined(reader, made);
    reader.Finish();
    CheckName(value, made.name);
    if (hasId) CheckId(value, made);
    model_.commands.push_back(std::move(made));
  }

 private:
  bool TakeId(ObjectReader& reader, Command& made) {
    const SourceValue* id = reader.Take("id", Need::kRequired);
    if (id == nullptr) return false;
    if (id->kind == Kind::kInteger && !id->negative && id->magnitude <= UINT32_MAX) {
      made.id = static_cast<std::uint32_t>(id->magnitude);
      return true;
    }
    if (id->kind == Kind::kText && ParseId(id->text, made.id)) return true;
    faults_.Error(id->place, "\"id\" must be 32 bits, a number or a text such as \"0x1001\"");
    return false;
  }

  std::int32_t TakeStructure(ObjectReader& reader, std::string_view key) {
    const SourceValue* type = reader.Take(key, Kind::kText, Need::kOptional);
    if (type == nullptr) return Command::kNoStructure;
    const auto found = names_.structures.find(type->text);
    if (found != names_.structures.end()) return static_cast<std::int32_t>(found->second);
    faults_.Error(type->place, "there is no structure \"" + type->text + "\"");
    return Command::kNoStructure;
  }

  void TakeCombined(ObjectReader& reader, Command& made) {
    const SourceValue* combined = reader.Take("combined", Need::kOptional);
    if (combined == nullptr) return;
    if (combined->kind == Kind::kText && combined->text == "any") return;
    if (combined->kind == Kind::kText && combined->text == "none") {
      made.combined = Combined::kNone;
      return;
    }
    if (combined->kind != Kind::kList) {
      faults_.Error(combined->place, "\"combined\" must be \"any\", \"none\" or a list of texts");
      return;
    }
    made.combined = Combined::kListed;
    for (const SourceValue& item : combined->items) {
      if (item.kind == Kind::kText && item.text.find('\0') == std::string::npos) {
        made.combinedTexts.push_back(item.text);
      } else {
        faults_.Error(item.place, "a parameter text must be a text without zero characters");
      }
    }
  }

  void CheckName(const SourceValue& value, const std::string& name) {
    if (name.empty()) return;
    if (!namesSeen_.insert(name).second) {
      faults_.Warning(value.place,
                      "the command \"" + name + "\" stands twice; consoles find the first");
    }
    const std::string why = WhyNameIsTaken(name);
    if (!why.empty()) faults_.Warning(value.place, why);
  }

  void CheckId(const SourceValue& value, const Command& made) {
    const auto [found, isNew] = idsSeen_.emplace(made.id, model_.commands.size());
    if (isNew) return;
    const Command& first = model_.commands[found->second];
    if (first.request != made.request || first.confirmation != made.confirmation ||
        first.indication != made.indication) {
      faults_.Error(value.place, "the commands \"" + first.name + "\" and \"" + made.name +
                                     "\" have one id, but not the same structures");
    } else {
      faults_.Warning(value.place,
                      "the commands \"" + first.name + "\" and \"" + made.name + "\" have one id");
    }
  }

  catalogue::Model& model_;
  const TypeNames& names_;
  Faults& faults_;
  std::set<std::string> namesSeen_;
  std::map<std::uint32_t, std::size_t> idsSeen_;  // id to index in the model
};

}  // namespace

void ReadCommands(const SourceValue& list, catalogue::Model& model, const TypeNames& names,
                  Faults& faults) {
  CommandReader reader(model, names, faults);
  for (const SourceValue& item : list.items) reader.Read(item);
}

}  // namespace kivcat

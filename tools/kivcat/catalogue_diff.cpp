#include "tools/kivcat/catalogue_diff.h"

#include <algorithm>
#include <map>
#include <vector>

#include "platform/text/shown_text.h"
#include "tools/kivcat/difference_text.h"
#include "tools/kivcat/header_values.h"

namespace kivcat {
namespace {

using catalogue::Command;
using catalogue::Enumeration;
using catalogue::EnumerationValue;
using catalogue::Field;
using catalogue::FieldKind;
using catalogue::Model;
using catalogue::Structure;

// Which entry of the new list stands for which of the old one.
struct Pairs {
  static constexpr std::size_t kNone = static_cast<std::size_t>(-1);

  std::vector<std::size_t> newerOf;  // by index in the old list
  std::vector<bool> isTaken;         // by index in the new list

  Pairs(std::size_t olderCount, std::size_t newerCount)
      : newerOf(olderCount, kNone), isTaken(newerCount, false) {}
};

// Pairs what is not paired yet and has the same key; equal keys in the order of the lists.
template <class Entry, class KeyOf>
void PairBy(const std::vector<Entry>& older, const std::vector<Entry>& newer, KeyOf keyOf,
            Pairs& pairs) {
  using Key = decltype(keyOf(older.front()));
  std::map<Key, std::vector<std::size_t>> free;  // indices, the next one last
  for (std::size_t i = newer.size(); i-- > 0;) {
    if (!pairs.isTaken[i]) free[keyOf(newer[i])].push_back(i);
  }
  for (std::size_t i = 0; i < older.size(); ++i) {
    if (pairs.newerOf[i] != Pairs::kNone) continue;
    const auto found = free.find(keyOf(older[i]));
    if (found == free.end() || found->second.empty()) continue;
    pairs.newerOf[i] = found->second.back();
    pairs.isTaken[found->second.back()] = true;
    found->second.pop_back();
  }
}

template <class Entry>
std::string NameOf(const Entry& entry) {
  return entry.name;
}

// Walks two lists: `removed`, `changed` in the order of the old one, then `added` in that of the
// new one.
template <class Entry, class Removed, class Changed, class Added>
void Walk(const std::vector<Entry>& older, const std::vector<Entry>& newer, const Pairs& pairs,
          Removed removed, Changed changed, Added added) {
  for (std::size_t i = 0; i < older.size(); ++i) {
    if (pairs.newerOf[i] == Pairs::kNone) {
      removed(older[i]);
    } else {
      changed(older[i], newer[pairs.newerOf[i]]);
    }
  }
  for (std::size_t i = 0; i < newer.size(); ++i) {
    if (!pairs.isTaken[i]) added(newer[i]);
  }
}

template <class Entry>
Pairs PairsByName(const std::vector<Entry>& older, const std::vector<Entry>& newer) {
  Pairs pairs(older.size(), newer.size());
  PairBy(older, newer, NameOf<Entry>, pairs);
  return pairs;
}

class Comparison {
 public:
  Comparison(const Model& older, const Model& newer) : older_(older), newer_(newer) {}

  std::string Text() {
    CompareHead();
    Walk(
        older_.enumerations, newer_.enumerations,
        PairsByName(older_.enumerations, newer_.enumerations),
        [&](const Enumeration& one) { text_.Removed("enumeration " + one.name, BaseOf(one)); },
        [&](const Enumeration& a, const Enumeration& b) { CompareEnumeration(a, b); },
        [&](const Enumeration& one) { text_.Added("enumeration " + one.name, BaseOf(one)); });
    Walk(
        older_.structures, newer_.structures, PairsByName(older_.structures, newer_.structures),
        [&](const Structure& one) { text_.Removed("type " + one.name, SizeOf(one)); },
        [&](const Structure& a, const Structure& b) { CompareStructure(a, b); },
        [&](const Structure& one) { text_.Added("type " + one.name, SizeOf(one)); });
    CompareCommands();
    return text_.Text();
  }

 private:
  void CompareHead() {
    text_.Compare("catalogue name", older_.name, newer_.name);
    text_.CompareTexts("catalogue text", older_.text, newer_.text);
    text_.Compare("catalogue fingerprint", catalogue::FingerprintText(older_.fingerprint),
                  catalogue::FingerprintText(newer_.fingerprint));
    for (const std::string& word : older_.hostWords) {
      if (!Contains(newer_.hostWords, word)) text_.Removed("host word", ShownLine(word));
    }
    for (const std::string& word : newer_.hostWords) {
      if (!Contains(older_.hostWords, word)) text_.Added("host word", ShownLine(word));
    }
  }

  static bool Contains(const std::vector<std::string>& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
  }

  // Enumerations

  static std::string BaseOf(const Enumeration& one) {
    return std::string(catalogue::ScalarName(one.base));
  }

  void CompareEnumeration(const Enumeration& older, const Enumeration& newer) {
    const std::string what = "enumeration " + older.name;
    text_.Compare(what + " base", BaseOf(older), BaseOf(newer));
    text_.CompareTexts(what + " text", older.text, newer.text);
    Walk(
        older.values, newer.values, PairsByName(older.values, newer.values),
        [&](const EnumerationValue& one) {
          text_.Removed(what + " value " + one.name, ScalarConstant(older.base, one.value));
        },
        [&](const EnumerationValue& a, const EnumerationValue& b) {
          const std::string value = what + " value " + a.name;
          text_.Compare(value, ScalarConstant(older.base, a.value),
                        ScalarConstant(newer.base, b.value));
          text_.CompareTexts(value + " text", a.text, b.text);
        },
        [&](const EnumerationValue& one) {
          text_.Added(what + " value " + one.name, ScalarConstant(newer.base, one.value));
        });
  }

  // Types

  static std::string SizeOf(const Structure& one) {
    return std::to_string(one.sizeBytes) + " bytes";
  }
  static std::string LayoutOf(const Structure& one) { return one.natural ? "natural" : "packed"; }

  static std::string TypeOf(const Model& model, const Field& field) {
    std::string text;
    switch (field.kind) {
      case FieldKind::kScalar:
        text = catalogue::ScalarName(field.scalar);
        break;
      case FieldKind::kEnumeration:
        text = model.enumerations[field.reference].name;
        break;
      case FieldKind::kStructure:
        text = model.structures[field.reference].name;
        break;
    }
    return field.isArray ? text + "[" + std::to_string(field.count) + "]" : text;
  }

  static std::string PlaceOf(const Model& model, const Field& field) {
    return TypeOf(model, field) + " at " + std::to_string(field.offsetBytes);
  }

  static std::string LengthOf(const Structure& one, const Field& field) {
    return field.lengthOf == Field::kNoField ? "none" : one.fields[field.lengthOf].name;
  }

  static std::string DefaultOf(const Model& model, const Structure& one, const Field& field) {
    return FieldInitialiser(model, field, one.defaults.data() + field.offsetBytes);
  }

  void CompareStructure(const Structure& older, const Structure& newer) {
    const std::string what = "type " + older.name;
    text_.Compare(what + " size", SizeOf(older), SizeOf(newer));
    text_.Compare(what + " layout", LayoutOf(older), LayoutOf(newer));
    text_.CompareTexts(what + " text", older.text, newer.text);
    Walk(
        older.fields, newer.fields, PairsByName(older.fields, newer.fields),
        [&](const Field& one) { text_.Removed(what + " field " + one.name, PlaceOf(older_, one)); },
        [&](const Field& a, const Field& b) {
          const std::string field = what + " field " + a.name;
          text_.Compare(field + " type", TypeOf(older_, a), TypeOf(newer_, b));
          text_.Compare(field + " offset", std::to_string(a.offsetBytes),
                        std::to_string(b.offsetBytes));
          text_.Compare(field + " length of", LengthOf(older, a), LengthOf(newer, b));
          text_.Compare(field + " default", DefaultOf(older_, older, a),
                        DefaultOf(newer_, newer, b));
          text_.CompareTexts(field + " text", a.text, b.text);
        },
        [&](const Field& one) { text_.Added(what + " field " + one.name, PlaceOf(newer_, one)); });
  }

  // Commands

  // Those of the same name and id are pairs, then those of the same name (moved to another id),
  // then those of the same id (renamed).
  void CompareCommands() {
    const auto& older = older_.commands;
    const auto& newer = newer_.commands;
    Pairs pairs(older.size(), newer.size());
    PairBy(
        older, newer, [](const Command& one) { return std::pair(one.id, one.name); }, pairs);
    PairBy(older, newer, NameOf<Command>, pairs);
    PairBy(
        older, newer, [](const Command& one) { return one.id; }, pairs);
    Walk(
        older, newer, pairs,
        [&](const Command& one) { text_.Removed("command " + one.name, HexText(one.id)); },
        [&](const Command& a, const Command& b) { CompareCommand(a, b); },
        [&](const Command& one) { text_.Added("command " + one.name, HexText(one.id)); });
  }

  static std::string StructureOf(const Model& model, std::int32_t index) {
    if (index == Command::kNoStructure) return "none";
    return model.structures[static_cast<std::size_t>(index)].name;
  }

  static std::string CombinedOf(const Command& one) {
    switch (one.combined) {
      case catalogue::Combined::kAny:
        return "any";
      case catalogue::Combined::kNone:
        return "none";
      case catalogue::Combined::kListed:
        break;
    }
    std::string text;
    for (const std::string& allowed : one.combinedTexts) {
      text += (text.empty() ? "\"" : ", \"") + ShownLine(allowed) + "\"";
    }
    return "[" + text + "]";
  }

  void CompareCommand(const Command& older, const Command& newer) {
    const std::string what = "command " + older.name;
    text_.Compare(what + " name", older.name, newer.name);
    text_.Compare(what + " id", HexText(older.id), HexText(newer.id));
    text_.Compare(what + " request", StructureOf(older_, older.request),
                  StructureOf(newer_, newer.request));
    text_.Compare(what + " confirmation", StructureOf(older_, older.confirmation),
                  StructureOf(newer_, newer.confirmation));
    text_.Compare(what + " indication", StructureOf(older_, older.indication),
                  StructureOf(newer_, newer.indication));
    text_.Compare(what + " fingerprint", catalogue::FingerprintText(older.fingerprint),
                  catalogue::FingerprintText(newer.fingerprint));
    text_.Compare(what + " listed", older.listed ? "true" : "false",
                  newer.listed ? "true" : "false");
    text_.Compare(what + " combined", CombinedOf(older), CombinedOf(newer));
    text_.CompareTexts(what + " text", older.text, newer.text);
    text_.CompareTexts(what + " group", older.group, newer.group);
  }

  const Model& older_;
  const Model& newer_;
  DifferenceText text_;
};

}  // namespace

std::string DiffCatalogues(const Model& older, const Model& newer) {
  return Comparison(older, newer).Text();
}

}  // namespace kivcat

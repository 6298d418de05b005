#include "platform/xml/xml_merge.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <map>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/os/utf8.h"
#include "platform/xml/entry_meaning.h"
#include "platform/xml/xml_document.h"
#include "platform/xml/xml_text.h"

namespace xml_merge {
namespace {

using xml_config::MergeKind;
using Nodes = std::vector<pugi::xml_node>;

struct Rule {
  MergeKind kind = MergeKind::kByTag;
  std::string key;
};

// Children that one key names, on each side.
struct Group {
  Nodes base, ours, theirs, loaded, starting;
};

constexpr Nodes Group::*kAllSides[] = {&Group::ours, &Group::base, &Group::theirs, &Group::loaded,
                                       &Group::starting};

// The engine answers false without memory; a merge that lost something must not be saved.
template <typename Done>
void Checked(const Done& done) {
  if (!done) throw std::bad_alloc();
}

std::string TextOf(const Nodes& nodes) {
  std::string text;
  for (const pugi::xml_node node : nodes) text += xml_document::Serialise(node);
  return text;
}

Nodes ChildrenOf(pugi::xml_node parent) {
  Nodes nodes;
  for (const pugi::xml_node child : parent.children()) nodes.push_back(child);
  return nodes;
}

void RemoveAll(pugi::xml_node parent, const Nodes& nodes) {
  for (const pugi::xml_node node : nodes) parent.remove_child(node);
}

void AppendAll(pugi::xml_node parent, const Nodes& nodes) {
  for (const pugi::xml_node node : nodes) Checked(parent.append_copy(node));
}

pugi::xml_node At(const Nodes& nodes, std::size_t i) {
  return i < nodes.size() ? nodes[i] : pugi::xml_node();
}

QCString Decoded(const char* text) { return QCString(xml_text::Decode<wchar_t>(text)); }

// An attribute as a store adds it that never read or set its value.
struct Unset {
  std::string attribute;  // empty: any
  std::string value;
};

// How often each entry stands in a list; the order plays no part.
using Counts = std::unordered_map<std::string, std::ptrdiff_t>;

// Takes one from the count of an entry, if there is one to take.
bool TakeOne(Counts& counts, const std::string& entry) {
  const auto at = counts.find(entry);
  if (at == counts.end() || at->second == 0) return false;
  --at->second;
  return true;
}

// Entries that are in `from` and not, or less often, in `than`.
Counts Surplus(Counts from, const Counts& than) {
  for (auto& [entry, count] : from) {
    const auto other = than.find(entry);
    if (other != than.end()) count = std::max<std::ptrdiff_t>(0, count - other->second);
  }
  return from;
}

// Walks the documents together.
class Merger {
 public:
  Merger(const xml_config::Options& options, bool goesOn)
      : storedAs_(options.storedAs), goesOn_(goesOn) {
    for (const xml_config::UnsetValue& row : options.unsetValues) {
      unset_.push_back({row.attribute != nullptr ? os::WideToUtf8(row.attribute) : std::string(),
                        os::WideToUtf8(row.value)});
    }
    for (const xml_config::MergeRule& rule : options.mergeRules) {
      rules_[os::WideToUtf8(rule.tagPath)] = {
          rule.kind, rule.key != nullptr ? os::WideToUtf8(rule.key) : std::string()};
    }
  }

  // All but `ours` and `theirs` may be null: then all of ours is new.
  void Element(const Sides& sides, const std::string& tagPath) const {
    MergeAttributes(sides, tagPath);
    const Rule rule = RuleFor(tagPath);
    if (rule.kind == MergeKind::kAppended) return MergeAppended(sides, tagPath);
    if (rule.kind == MergeKind::kWhole) return MergeWhole(sides, tagPath);
    for (const auto& [key, group] : Grouped(sides, rule)) {
      MergeGroup(group, sides.theirs, tagPath);
    }
  }

 private:
  // Whether a console that read the one may have stored the other back.
  bool IsSame(const std::string& tagPath, pugi::xml_attribute before,
              pugi::xml_attribute now) const {
    if (std::string_view(before.value()) == now.value()) return true;
    if (!storedAs_.attribute) return false;
    const std::vector<QCString> stored = storedAs_.attribute(
        QCString::FromUtf8(tagPath), QCString::FromUtf8(now.name()), Decoded(before.value()));
    const QCString text = Decoded(now.value());
    return std::find(stored.begin(), stored.end(), text) != stored.end();
  }

  bool IsUnset(pugi::xml_attribute attribute) const {
    return std::any_of(unset_.begin(), unset_.end(), [&](const Unset& row) {
      return (row.attribute.empty() || row.attribute == attribute.name()) &&
             row.value == attribute.value();
    });
  }

  // Whether ours has set the attribute since `before`; what it holds as unset it has not.
  bool HasSet(const std::string& tagPath, pugi::xml_node before, pugi::xml_attribute now) const {
    const pugi::xml_attribute old = before.attribute(now.name());
    return old ? !IsSame(tagPath, old, now) : !IsUnset(now);
  }

  // Whether the attribute of ours takes the place of theirs, which is there.
  bool Holds(const Sides& sides, const std::string& tagPath, pugi::xml_attribute now,
             pugi::xml_attribute theirs) const {
    if (goesOn_) return HasSet(tagPath, sides.base, now);
    if (HasSet(tagPath, sides.loaded, now)) return true;
    const pugi::xml_attribute starting = sides.starting.attribute(now.name());
    return sides.loaded.attribute(now.name()) && starting &&
           std::string_view(starting.value()) == theirs.value();
  }

  void MergeAttributes(const Sides& sides, const std::string& tagPath) const {
    for (const pugi::xml_attribute now : sides.ours.attributes()) {
      pugi::xml_attribute target = sides.theirs.attribute(now.name());
      const pugi::xml_attribute before = sides.base.attribute(now.name());
      if (target ? !Holds(sides, tagPath, now, target)
                 : goesOn_ && before && IsSame(tagPath, before, now)) {
        continue;
      }
      if (!target) target = pugi::xml_node(sides.theirs).append_attribute(now.name());
      Checked(target.set_value(now.value()));
    }
    for (const pugi::xml_attribute before : sides.base.attributes()) {
      if (!sides.ours.attribute(before.name())) {
        pugi::xml_node(sides.theirs).remove_attribute(before.name());
      }
    }
  }

  Counts CountEntries(pugi::xml_node list, const std::string& tagPath) const {
    Counts counts;
    EntryMeaning meaning(storedAs_, tagPath);
    for (const pugi::xml_node entry : list.children()) ++counts[meaning.KeyOf(entry)];
    return counts;
  }

  // What both sides removed went once: of equal entries theirs may be the ones of ours.
  void MergeAppended(const Sides& sides, const std::string& tagPath) const {
    pugi::xml_node theirs = sides.theirs;
    const Counts before = CountEntries(sides.base, tagPath);
    const Counts now = CountEntries(sides.ours, tagPath);
    Counts added = Surplus(now, before);
    Counts removed = Surplus(Surplus(before, now), Surplus(before, CountEntries(theirs, tagPath)));
    EntryMeaning theirMeaning(storedAs_, tagPath);
    for (const pugi::xml_node entry : ChildrenOf(theirs)) {
      if (TakeOne(removed, theirMeaning.KeyOf(entry))) theirs.remove_child(entry);
    }
    if (!goesOn_) {
      for (const auto& [entry, count] : Surplus(now, CountEntries(theirs, tagPath))) {
        added[entry] = std::max(added[entry], count);
      }
    }
    AppendLast(sides.ours, std::move(added), theirs, tagPath);
  }

  // Of equal entries the later ones are the new ones.
  void AppendLast(pugi::xml_node ours, Counts added, pugi::xml_node theirs,
                  const std::string& tagPath) const {
    EntryMeaning meaning(storedAs_, tagPath);
    std::vector<std::pair<pugi::xml_node, std::string>> entries;
    for (const pugi::xml_node entry : ours.children()) {
      entries.emplace_back(entry, meaning.KeyOf(entry));
    }
    Nodes fresh;
    for (auto at = entries.rbegin(); at != entries.rend(); ++at) {
      if (TakeOne(added, at->second)) fresh.push_back(at->first);
    }
    AppendAll(theirs, Nodes(fresh.rbegin(), fresh.rend()));
  }

  // A store writes ten slots where the document had fewer, and changes nothing by it.
  void MergeWhole(const Sides& sides, const std::string& tagPath) const {
    const auto meaning = [&](pugi::xml_node list) {
      return EntryMeaning::OfList(storedAs_, tagPath, ChildrenOf(list));
    };
    const Nodes theirs = ChildrenOf(sides.theirs);
    const bool haveTheirs =
        goesOn_ ? TextOf(ChildrenOf(sides.base)) != TextOf(theirs) : !meaning(sides.theirs).empty();
    const pugi::xml_node before = goesOn_ ? sides.base : sides.loaded;
    if (haveTheirs && meaning(before) == meaning(sides.ours)) return;
    RemoveAll(sides.theirs, theirs);
    AppendAll(sides.theirs, ChildrenOf(sides.ours));
  }

  Rule RuleFor(const std::string& tagPath) const {
    const auto at = rules_.find(tagPath);
    return at != rules_.end() ? at->second : Rule{};
  }

  // In the order in which the keys come, ours first.
  static std::vector<std::pair<std::string, Group>> Grouped(const Sides& sides, const Rule& rule) {
    std::vector<std::pair<std::string, Group>> groups;
    std::map<std::string, std::size_t> positions;
    const pugi::xml_node parents[] = {sides.ours, sides.base, sides.theirs, sides.loaded,
                                      sides.starting};
    for (std::size_t side = 0; side < std::size(parents); ++side) {
      for (const pugi::xml_node child : parents[side].children()) {
        if (child.type() != pugi::node_element) continue;
        std::string key = KeyOf(child, rule);
        const auto [at, isNew] = positions.try_emplace(key, groups.size());
        if (isNew) groups.emplace_back(std::move(key), Group{});
        (groups[at->second].second.*kAllSides[side]).push_back(child);
      }
    }
    return groups;
  }

  // A blank cannot stand in a tag.
  static std::string KeyOf(pugi::xml_node node, const Rule& rule) {
    std::string key = node.name();
    if (rule.kind != MergeKind::kByAttribute) return key;
    const pugi::xml_attribute attribute = node.attribute(rule.key.c_str());
    return attribute ? key + " " + attribute.value() : key;
  }

  void MergeGroup(const Group& group, pugi::xml_node theirParent,
                  const std::string& parentTagPath) const {
    if (group.ours.empty()) {
      if (TextOf(group.base) == TextOf(group.theirs)) RemoveAll(theirParent, group.theirs);
      return;
    }
    const std::size_t least = std::min(group.ours.size(), group.theirs.size());
    // Who adds the same thing means the same thing; removed is nothing of a file that began anew.
    const std::size_t pairs = !goesOn_ || group.base.empty() ? least : group.base.size();
    const bool haveRemoved = pairs > least;
    if (!haveRemoved) return MergePairs(group, pairs, theirParent, parentTagPath);
    // Removed by them: it stays so unless we have changed it.
    if (TextOf(group.base) == TextOf(group.ours)) return;
    RemoveAll(theirParent, group.theirs);
    AppendAll(theirParent, group.ours);
  }

  // The first ones in their order, then what each side has beyond them.
  void MergePairs(const Group& group, std::size_t pairs, pugi::xml_node theirParent,
                  const std::string& parentTagPath) const {
    for (std::size_t i = 0; i < pairs; ++i) {
      Element({At(group.base, i), group.ours[i], group.theirs[i], At(group.loaded, i),
               At(group.starting, i)},
              parentTagPath + "." + group.ours[i].name());
    }
    AppendAll(theirParent,
              Nodes(group.ours.begin() + static_cast<std::ptrdiff_t>(pairs), group.ours.end()));
  }

  const xml_config::StoredAs& storedAs_;
  bool goesOn_;
  std::map<std::string, Rule> rules_;
  std::vector<Unset> unset_;
};

}  // namespace

void Merge(pugi::xml_node base, pugi::xml_node ours, pugi::xml_node theirs,
           const xml_config::Options& rules) {
  Merger(rules, true).Element({base, ours, theirs}, ours.name());
}

void MergeAnew(const Sides& sides, const xml_config::Options& rules) {
  Merger(rules, false).Element(sides, sides.ours.name());
}

}  // namespace xml_merge

#include "platform/xml/xml_merge.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <new>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "platform/os/utf8.h"
#include "platform/xml/xml_document.h"

namespace xml_merge {
namespace {

using xml_config::MergeKind;
using Nodes = std::vector<pugi::xml_node>;

struct Rule {
  MergeKind kind = MergeKind::kByTag;
  std::string key;
};

// Children that one key names, on the three sides.
struct Group {
  Nodes base, ours, theirs;
};

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

// An attribute as a store adds it that never read or set its value.
struct Unset {
  std::string attribute;  // empty: any
  std::string value;
};

bool IsUnset(const std::vector<Unset>& unset, pugi::xml_attribute attribute) {
  return std::any_of(unset.begin(), unset.end(), [&](const Unset& row) {
    return (row.attribute.empty() || row.attribute == attribute.name()) &&
           row.value == attribute.value();
  });
}

void MergeAttributes(pugi::xml_node base, pugi::xml_node ours, pugi::xml_node theirs,
                     const std::vector<Unset>& unset) {
  for (const pugi::xml_attribute now : ours.attributes()) {
    const pugi::xml_attribute before = base.attribute(now.name());
    if (before && std::string_view(before.value()) == now.value()) continue;
    pugi::xml_attribute target = theirs.attribute(now.name());
    if (target && !before && IsUnset(unset, now)) continue;
    if (!target) target = theirs.append_attribute(now.name());
    Checked(target.set_value(now.value()));
  }
  for (const pugi::xml_attribute before : base.attributes()) {
    if (!ours.attribute(before.name())) theirs.remove_attribute(before.name());
  }
}

// What the entries of a list say: an attribute that is empty says as much as one that is missing,
// so do comments, and entries at the end that say nothing are as good as none.
std::string MeaningOf(const Nodes& entries) {
  std::string meaning;
  std::size_t usedChars = 0;
  for (const pugi::xml_node entry : entries) {
    if (entry.type() != pugi::node_element) continue;
    meaning += std::string("<") + entry.name();
    const std::size_t before = meaning.size();
    for (const pugi::xml_attribute attribute : entry.attributes()) {
      if (*attribute.value() == '\0') continue;
      meaning += std::string(" ") + attribute.name() + "=\"" + attribute.value() + '"';
    }
    meaning += TextOf(ChildrenOf(entry));
    if (meaning.size() > before) usedChars = meaning.size();
  }
  meaning.resize(usedChars);
  return meaning;
}

// Ours instead of theirs when ours has changed.
void MergeAsOne(const Group& group, pugi::xml_node theirParent) {
  if (TextOf(group.base) == TextOf(group.ours)) return;
  RemoveAll(theirParent, group.theirs);
  AppendAll(theirParent, group.ours);
}

// How often each entry stands in a list; the order plays no part.
using Counts = std::unordered_map<std::string, std::ptrdiff_t>;

Counts CountEntries(pugi::xml_node list) {
  Counts counts;
  for (const pugi::xml_node entry : list.children()) ++counts[xml_document::Serialise(entry)];
  return counts;
}

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

void MergeAppended(pugi::xml_node base, pugi::xml_node ours, pugi::xml_node theirs,
                   Descent descent) {
  const Counts before = CountEntries(base), now = CountEntries(ours);
  Counts removed = Surplus(before, now), added = Surplus(now, before);
  for (const pugi::xml_node entry : ChildrenOf(theirs)) {
    if (TakeOne(removed, xml_document::Serialise(entry))) theirs.remove_child(entry);
  }
  if (descent == Descent::kBeganAnew) {
    for (const auto& [entry, count] : Surplus(now, CountEntries(theirs))) {
      added[entry] = std::max(added[entry], count);
    }
  }
  // Of equal entries the later ones are the new ones.
  const Nodes entries = ChildrenOf(ours);
  Nodes fresh;
  for (auto at = entries.rbegin(); at != entries.rend(); ++at) {
    if (TakeOne(added, xml_document::Serialise(*at))) fresh.push_back(*at);
  }
  AppendAll(theirs, Nodes(fresh.rbegin(), fresh.rend()));
}

// Walks the three documents together.
class Merger {
 public:
  Merger(const Rules& rules, Descent descent) : descent_(descent) {
    for (const xml_config::UnsetValue& row : rules.unsetValues) {
      unset_.push_back({row.attribute != nullptr ? os::WideToUtf8(row.attribute) : std::string(),
                        os::WideToUtf8(row.value)});
    }
    for (const xml_config::MergeRule& rule : rules.elements) {
      rules_[os::WideToUtf8(rule.tagPath)] = {
          rule.kind, rule.key != nullptr ? os::WideToUtf8(rule.key) : std::string()};
    }
  }

  // `base` may be null: then all of ours is new.
  void Element(pugi::xml_node base, pugi::xml_node ours, pugi::xml_node theirs,
               const std::string& tagPath) const {
    MergeAttributes(base, ours, theirs, unset_);
    const Rule rule = RuleFor(tagPath);
    if (rule.kind == MergeKind::kAppended) return MergeAppended(base, ours, theirs, descent_);
    if (rule.kind == MergeKind::kWhole) {
      const Group lists = {ChildrenOf(base), ChildrenOf(ours), ChildrenOf(theirs)};
      const bool haveTheirs = TextOf(lists.base) != TextOf(lists.theirs);
      // A store writes ten slots where the document had fewer, and changes nothing by it.
      if (haveTheirs && MeaningOf(lists.base) == MeaningOf(lists.ours)) return;
      return MergeAsOne(lists, theirs);
    }
    for (const auto& [key, group] : Grouped(base, ours, theirs, rule)) {
      MergeGroup(group, theirs, tagPath);
    }
  }

 private:
  Rule RuleFor(const std::string& tagPath) const {
    const auto at = rules_.find(tagPath);
    return at != rules_.end() ? at->second : Rule{};
  }

  // In the order in which the keys come, ours first.
  static std::vector<std::pair<std::string, Group>> Grouped(pugi::xml_node base,
                                                            pugi::xml_node ours,
                                                            pugi::xml_node theirs,
                                                            const Rule& rule) {
    std::vector<std::pair<std::string, Group>> groups;
    std::map<std::string, std::size_t> positions;
    const auto add = [&](pugi::xml_node parent, Nodes Group::*side) {
      for (const pugi::xml_node child : parent.children()) {
        if (child.type() != pugi::node_element) continue;
        std::string key = KeyOf(child, rule);
        const auto [at, isNew] = positions.try_emplace(key, groups.size());
        if (isNew) groups.emplace_back(std::move(key), Group{});
        (groups[at->second].second.*side).push_back(child);
      }
    };
    add(ours, &Group::ours);
    add(base, &Group::base);
    add(theirs, &Group::theirs);
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
    if (group.base.size() > 1 || group.ours.size() > 1 || group.theirs.size() > 1) {
      return MergeAsOne(group, theirParent);
    }
    const pugi::xml_node base = First(group.base);
    if (!group.ours.empty() && !group.theirs.empty()) {
      const pugi::xml_node ours = group.ours[0];
      return Element(base, ours, group.theirs[0], parentTagPath + "." + ours.name());
    }
    if (!group.ours.empty()) {
      // Removed by them, if it was there: it stays so unless we have changed it.
      if (descent_ == Descent::kBeganAnew || TextOf(group.base) != TextOf(group.ours)) {
        AppendAll(theirParent, group.ours);
      }
    } else if (TextOf(group.base) == TextOf(group.theirs)) {
      RemoveAll(theirParent, group.theirs);
    }
  }

  static pugi::xml_node First(const Nodes& nodes) {
    return nodes.empty() ? pugi::xml_node() : nodes[0];
  }

  Descent descent_;
  std::map<std::string, Rule> rules_;
  std::vector<Unset> unset_;
};

}  // namespace

void Merge(pugi::xml_node base, pugi::xml_node ours, pugi::xml_node theirs, const Rules& rules,
           Descent descent) {
  Merger(rules, descent).Element(base, ours, theirs, ours.name());
}

}  // namespace xml_merge

#include "tools/kivcat/object_reader.h"

#include <algorithm>

namespace kivcat {
namespace {

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

}  // namespace

std::string KindText(SourceValue::Kind kind) {
  switch (kind) {
    case SourceValue::Kind::kNull:
      return "null";
    case SourceValue::Kind::kBoolean:
      return "true or false";
    case SourceValue::Kind::kInteger:
      return "an integer";
    case SourceValue::Kind::kFraction:
      return "a fraction";
    case SourceValue::Kind::kText:
      return "a text";
    case SourceValue::Kind::kList:
      return "a list";
    case SourceValue::Kind::kObject:
      break;
  }
  return "an object";
}

bool IsIdentifier(std::string_view text, std::uint32_t maxChars) noexcept {
  return !text.empty() && text.size() <= maxChars && IsLetter(text[0]) &&
         std::all_of(text.begin(), text.end(), [](char c) { return IsLetter(c) || IsDigit(c); });
}

ObjectReader::ObjectReader(const SourceValue& value, std::string what, Faults& faults)
    : value_(value),
      what_(std::move(what)),
      faults_(faults),
      isObject_(value.kind == SourceValue::Kind::kObject) {
  if (!isObject_)
    faults_.Error(value.place, what_ + " must be an object, not " + KindText(value.kind));
}

const SourceValue* ObjectReader::Take(std::string_view key, Need need) {
  taken_.push_back(key);
  const SourceValue* member = isObject_ ? value_.Find(key) : nullptr;
  if (member == nullptr && need == Need::kRequired && isObject_) {
    faults_.Error(value_.place, what_ + " lacks \"" + std::string(key) + "\"");
  }
  return member;
}

const SourceValue* ObjectReader::Take(std::string_view key, SourceValue::Kind kind, Need need) {
  const SourceValue* member = Take(key, need);
  if (member == nullptr || member->kind == kind) return member;
  faults_.Error(member->place, "\"" + std::string(key) + "\" must be " + KindText(kind) + ", not " +
                                   KindText(member->kind));
  return nullptr;
}

std::string ObjectReader::TakeText(std::string_view key, Need need) {
  const SourceValue* member = Take(key, SourceValue::Kind::kText, need);
  if (member == nullptr) return {};
  if (member->text.find('\0') != std::string::npos) {
    faults_.Error(member->place, "\"" + std::string(key) + "\" has a zero character");
    return {};
  }
  return member->text;
}

std::string ObjectReader::TakeIdentifier(std::string_view key, std::uint32_t maxChars) {
  const SourceValue* member = Take(key, SourceValue::Kind::kText, Need::kRequired);
  if (member == nullptr) return {};
  if (IsIdentifier(member->text, maxChars)) return member->text;
  faults_.Error(member->place,
                "\"" + std::string(key) +
                    "\" must be a letter or _, then letters, digits and _, at most " +
                    std::to_string(maxChars) + " characters");
  return {};
}

bool ObjectReader::TakeBoolean(std::string_view key, bool whenLeftOut) {
  const SourceValue* member = Take(key, SourceValue::Kind::kBoolean, Need::kOptional);
  return member == nullptr ? whenLeftOut : member->boolean;
}

std::uint64_t ObjectReader::TakeNumber(std::string_view key, std::uint64_t min, std::uint64_t max,
                                       Need need) {
  const SourceValue* member = Take(key, SourceValue::Kind::kInteger, need);
  if (member == nullptr) return 0;
  if (!member->negative && member->magnitude >= min && member->magnitude <= max) {
    return member->magnitude;
  }
  faults_.Error(member->place, "\"" + std::string(key) + "\" must be from " + std::to_string(min) +
                                   " to " + std::to_string(max));
  return 0;
}

void ObjectReader::Finish() {
  if (!isObject_) return;
  for (const SourceValue& member : value_.items) {
    if (std::find(taken_.begin(), taken_.end(), member.key) == taken_.end()) {
      faults_.Error(member.keyPlace, what_ + " has no key \"" + member.key + "\"");
    }
  }
}

}  // namespace kivcat

#include "tools/kivcat/source_reader.h"

#include <cstddef>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

namespace kivcat {
namespace {

// Follows the characters that the JSON reader takes, and keeps where the last value began. The
// reader takes one character behind a number before it tells of it; that is white space, a comma or
// a closing bracket, none of which begins a value, so the place still is the number's.
class PlaceTracker {
 public:
  void Take(unsigned char c) {
    Classify(c);
    if (c == '\n') {
      ++next_.line;
      next_.column = 1;
    } else if ((c & 0xC0) != 0x80) {  // not a further byte of a character
      ++next_.column;
    }
  }

  SourcePlace ValuePlace() const { return value_; }
  SourcePlace LastPlace() const { return last_; }

 private:
  enum class State : std::uint8_t { kBetween, kWord, kText, kEscape };

  void Classify(unsigned char c) {
    if ((c & 0xC0) != 0x80) last_ = next_;
    switch (state_) {
      case State::kEscape:
        state_ = State::kText;
        return;
      case State::kText:
        if (c == '\\') state_ = State::kEscape;
        if (c == '"') state_ = State::kBetween;
        return;
      case State::kWord:
        if (!IsWordEnd(c)) return;
        state_ = State::kBetween;
        break;
      case State::kBetween:
        break;
    }
    if (IsWordEnd(c)) {
      if (c == '{' || c == '[') value_ = next_;
      return;
    }
    value_ = next_;
    state_ = c == '"' ? State::kText : State::kWord;
  }

  static bool IsWordEnd(unsigned char c) {
    return c <= ' ' || c == ',' || c == ':' || c == '{' || c == '}' || c == '[' || c == ']';
  }

  SourcePlace next_;   // of the character to come
  SourcePlace last_;   // of the last character taken
  SourcePlace value_;  // of the first character of the last value
  State state_ = State::kBetween;
};

// Hands out the characters of a text and tells the tracker of each.
class TrackingIterator {
 public:
  using iterator_category = std::input_iterator_tag;
  using value_type = char;
  using difference_type = std::ptrdiff_t;
  using pointer = const char*;
  using reference = const char&;

  TrackingIterator(const char* at, PlaceTracker* tracker) : at_(at), tracker_(tracker) {}
  const char& operator*() const { return *at_; }
  TrackingIterator& operator++() {
    tracker_->Take(static_cast<unsigned char>(*at_));
    ++at_;
    return *this;
  }
  TrackingIterator operator++(int) {
    TrackingIterator before = *this;
    ++*this;
    return before;
  }
  bool operator==(const TrackingIterator& other) const { return at_ == other.at_; }
  bool operator!=(const TrackingIterator& other) const { return at_ != other.at_; }

 private:
  const char* at_;
  PlaceTracker* tracker_;
};

// The reason within the reader's own message, which begins with a place of its own:
// "[json.exception.parse_error.101] parse error at line 1, column 2: REASON".
std::string ReasonOf(const std::string& message) {
  const std::size_t column = message.find("column ");
  const std::size_t colon = message.find(": ", column == std::string::npos ? 0 : column);
  return colon == std::string::npos ? message : message.substr(colon + 2);
}

// Keys of an object are looked up one by one, so their number is bounded. No honest object has as
// many.
constexpr std::size_t kMaxMembers = 8192;

// Builds the values from the reader's events. `open_` holds the lists and objects that are not
// closed yet; a closed one moves into the one around it.
class ValueBuilder {
 public:
  ValueBuilder(const PlaceTracker& tracker, SourceValue& root, Faults& faults)
      : tracker_(tracker), root_(root), faults_(faults) {}

  bool null() { return Put(Make(SourceValue::Kind::kNull)); }
  bool boolean(bool value) {
    SourceValue made = Make(SourceValue::Kind::kBoolean);
    made.boolean = value;
    return Put(std::move(made));
  }
  bool number_integer(std::int64_t value) {
    SourceValue made = Make(SourceValue::Kind::kInteger);
    made.negative = value < 0;
    made.magnitude = static_cast<std::uint64_t>(value);
    return Put(std::move(made));
  }
  bool number_unsigned(std::uint64_t value) {
    SourceValue made = Make(SourceValue::Kind::kInteger);
    made.magnitude = value;
    return Put(std::move(made));
  }
  bool number_float(double, const std::string&) { return Put(Make(SourceValue::Kind::kFraction)); }
  bool string(std::string& value) {
    SourceValue made = Make(SourceValue::Kind::kText);
    made.text = std::move(value);
    return Put(std::move(made));
  }
  bool binary(std::vector<std::uint8_t>&) { return false; }
  bool start_object(std::size_t) { return Open(SourceValue::Kind::kObject); }
  bool start_array(std::size_t) { return Open(SourceValue::Kind::kList); }
  bool end_object() { return Close(); }
  bool end_array() { return Close(); }

  bool key(std::string& name) {
    key_ = std::move(name);
    keyPlace_ = tracker_.ValuePlace();
    if (open_.back().items.size() >= kMaxMembers) {
      faults_.Error(keyPlace_, "an object has more than 8192 keys");
      return false;
    }
    if (open_.back().Find(key_) != nullptr) {
      faults_.Error(keyPlace_, "the key \"" + key_ + "\" stands twice in this object");
    }
    return true;
  }

  template <typename Exception>
  bool parse_error(std::size_t, const std::string&, const Exception& error) {
    faults_.Error(tracker_.LastPlace(), ReasonOf(error.what()));
    return false;
  }

 private:
  SourceValue Make(SourceValue::Kind kind) {
    SourceValue made;
    made.kind = kind;
    made.place = tracker_.ValuePlace();
    made.key = std::move(key_);
    made.keyPlace = keyPlace_;
    key_.clear();
    return made;
  }

  bool Put(SourceValue value) {
    if (open_.empty()) {
      root_ = std::move(value);
    } else {
      open_.back().items.push_back(std::move(value));
    }
    return true;
  }

  bool Open(SourceValue::Kind kind) {
    open_.push_back(Make(kind));
    if (open_.size() <= kMaxSourceNesting) return true;
    faults_.Error(open_.back().place, "lists and objects are nested more than 64 deep");
    return false;
  }

  bool Close() {
    SourceValue closed = std::move(open_.back());
    open_.pop_back();
    return Put(std::move(closed));
  }

  const PlaceTracker& tracker_;
  SourceValue& root_;
  Faults& faults_;
  std::vector<SourceValue> open_;
  std::string key_;
  SourcePlace keyPlace_;
};

}  // namespace

bool ReadSource(std::string_view json, SourceValue& root, Faults& faults) {
  PlaceTracker tracker;
  ValueBuilder builder(tracker, root, faults);
  const char* begin = json.data();
  const bool read = nlohmann::json::sax_parse(
      TrackingIterator(begin, &tracker), TrackingIterator(begin + json.size(), &tracker), &builder);
  return read && !faults.HasErrors();
}

}  // namespace kivcat

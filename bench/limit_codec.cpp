#include "bench/limit_codec.h"

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "platform/bounded/pool.h"

namespace limit {
namespace {

using bench_shapes::Shape;

// --- a typed line to a body -----------------------------------------------------------------

std::uint32_t DigitOf(wchar_t ch) {
  if (ch >= L'0' && ch <= L'9') return static_cast<std::uint32_t>(ch - L'0');
  if (ch >= L'a' && ch <= L'f') return static_cast<std::uint32_t>(ch - L'a' + 10);
  if (ch >= L'A' && ch <= L'F') return static_cast<std::uint32_t>(ch - L'A' + 10);
  return 16;
}

template <std::uint32_t kBytes>
void Store(std::uint8_t* to, std::uint32_t value) {
  for (std::uint32_t i = 0; i < kBytes; ++i) to[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

template <std::uint32_t kBytes>
std::uint32_t Load(const std::uint8_t* from) {
  std::uint32_t value = 0;
  for (std::uint32_t i = 0; i < kBytes; ++i) value |= std::uint32_t{from[i]} << (8 * i);
  return value;
}

// Walks the line once; stops being good at the first character that does not belong there.
class LineReader {
 public:
  explicit LineReader(std::wstring_view line) : at_(line.data()), end_(at_ + line.size()) {}

  bool Good() const { return good_; }
  bool AtEnd() const { return good_ && at_ == end_; }
  void Take(wchar_t ch) {
    if (at_ == end_ || *at_ != ch) {
      good_ = false;
    } else {
      ++at_;
    }
  }
  // A number, or nothing: the default stays.
  template <std::uint32_t kBytes>
  void Value(std::uint8_t* to) {
    const wchar_t* at = at_;
    const bool negative = at != end_ && *at == L'-';
    if (negative || (at != end_ && *at == L'+')) ++at;
    const wchar_t* const first = at;
    std::uint64_t magnitude = 0;
    if (at != end_ && *at == L'0') {
      magnitude = Prefixed(at);
    } else {
      for (; at != end_; ++at) {
        const std::uint32_t digit = static_cast<char32_t>(*at) - L'0';
        if (digit >= 10) break;
        magnitude = magnitude * 10 + digit;
      }
      if (at - first > 19) magnitude = kTooBig;
    }
    if (at == first) {
      good_ = good_ && at == at_ && (at == end_ || *at == L',' || *at == L'}' || *at == L']');
      return;
    }
    at_ = at;
    std::uint32_t value = static_cast<std::uint32_t>(magnitude);
    if (magnitude >= kTooBig) {
      value = 0xFFFFFFFFu;
    } else if (negative) {
      value = 0u - value;
    }
    Store<kBytes>(to, value);
  }

 private:
  static constexpr std::uint64_t kTooBig = 0x100000000u;

  // Hexadecimal or octal.
  std::uint64_t Prefixed(const wchar_t*& at) const {
    std::uint32_t base = 8;
    if (end_ - at > 2 && (at[1] == L'x' || at[1] == L'X') && DigitOf(at[2]) < 16) {
      base = 16;
      at += 2;
    }
    std::uint64_t magnitude = 0;
    for (; at != end_ && DigitOf(*at) < base; ++at) {
      magnitude = magnitude * base + DigitOf(*at);
      if (magnitude > kTooBig) magnitude = kTooBig;
    }
    return magnitude;
  }

  const wchar_t* at_;
  const wchar_t* end_;
  bool good_ = true;
};

void ReadPart(LineReader& line, std::uint8_t* to) {
  line.Value<1>(to);
  line.Take(L',');
  line.Value<1>(to + 1);
  line.Take(L',');
  line.Value<2>(to + 2);
  line.Take(L',');
  line.Value<2>(to + 4);
  line.Take(L',');
  line.Value<4>(to + 6);
  line.Take(L',');
  line.Value<4>(to + 10);
  line.Take(L',');
  line.Value<2>(to + 14);
  line.Take(L',');
  line.Value<4>(to + 16);
}

void ReadTable(LineReader& line, std::uint8_t* to, std::size_t count) {
  line.Take(L'[');
  for (std::size_t i = 0; i < count && line.Good(); ++i) {
    if (i != 0) line.Take(L',');
    line.Value<2>(to + 2 * i);
  }
  line.Take(L']');
}

void ReadSmall(LineReader& line, std::uint8_t* to) {
  line.Value<1>(to);
  line.Take(L',');
  line.Value<1>(to + 1);
  line.Take(L',');
  line.Value<2>(to + 2);
  line.Take(L',');
  line.Value<2>(to + 4);
  line.Take(L',');
  line.Value<4>(to + 6);
  line.Take(L',');
  line.Value<4>(to + 10);
}

void ReadMedium(LineReader& line, std::uint8_t* to) {
  line.Take(L'{');
  for (std::size_t i = 0; i < 3; ++i, to += bench_shapes::kPartBytes) {
    ReadPart(line, to);
    line.Take(L',');
  }
  for (std::size_t i = 0; i < 2; ++i, to += bench_shapes::kPartBytes) {
    line.Take(L'{');
    ReadPart(line, to);
    line.Take(L'}');
    line.Take(L',');
  }
  line.Take(L'{');
  for (std::size_t i = 0; i < bench_shapes::kMediumLegs; ++i, to += bench_shapes::kLegBytes) {
    if (i != 0) line.Take(L',');
    line.Take(L'{');
    line.Value<1>(to);
    line.Take(L',');
    line.Value<2>(to + 1);
    line.Take(L',');
    line.Value<2>(to + 3);
    line.Take(L',');
    line.Value<4>(to + 5);
    line.Take(L'}');
  }
  line.Take(L'}');
  line.Take(L',');
  ReadTable(line, to, bench_shapes::kMediumTable);
  line.Take(L'}');
}

void ReadLarge(LineReader& line, std::uint8_t* to) {
  line.Take(L'{');
  line.Take(L'{');
  for (std::size_t i = 0; i < bench_shapes::kLargeGroups; ++i, to += bench_shapes::kPartBytes) {
    if (i != 0) line.Take(L',');
    line.Take(L'{');
    ReadPart(line, to);
    line.Take(L'}');
    if (!line.Good()) return;
  }
  line.Take(L'}');
  line.Take(L'}');
}

void ReadArray(LineReader& line, std::uint8_t* to) {
  ReadTable(line, to, bench_shapes::kArrayTable);
}

template <std::size_t kBytes, typename Read>
std::uint8_t* EncodeWith(std::wstring_view text, std::uint32_t* lengthBytes, Read read) {
  static constexpr std::array<std::uint8_t, kBytes> kDefaults{};
  auto* body = static_cast<std::uint8_t*>(PoolMalloc(kBytes));
  if (body == nullptr) return nullptr;
  std::memcpy(body, kDefaults.data(), kBytes);
  LineReader line(text);
  read(line, body);
  *lengthBytes = kBytes;
  if (line.AtEnd()) return body;
  PoolFree(body);
  return nullptr;
}

// --- a body to text ---------------------------------------------------------------------------

constexpr std::size_t kMostValueChars = 11;

constexpr std::array<wchar_t, 200> kPairs = [] {
  std::array<wchar_t, 200> pairs{};
  for (int i = 0; i < 100; ++i) {
    pairs[2 * i] = static_cast<wchar_t>(L'0' + i / 10);
    pairs[2 * i + 1] = static_cast<wchar_t>(L'0' + i % 10);
  }
  return pairs;
}();

std::uint32_t DigitsOf(std::uint32_t value) {
  if (value < 10) return 1;
  if (value < 100) return 2;
  if (value < 1000) return 3;
  if (value < 10000) return 4;
  if (value < 100000) return 5;
  if (value < 1000000) return 6;
  if (value < 10000000) return 7;
  if (value < 100000000) return 8;
  return value < 1000000000 ? 9 : 10;
}

wchar_t* WriteUnsigned(wchar_t* to, std::uint32_t value) {
  wchar_t* const end = to + DigitsOf(value);
  wchar_t* at = end;
  for (; value >= 100; value /= 100) {
    at -= 2;
    std::memcpy(at, &kPairs[2 * (value % 100)], 2 * sizeof(wchar_t));
  }
  if (value >= 10) {
    std::memcpy(at - 2, &kPairs[2 * value], 2 * sizeof(wchar_t));
  } else {
    at[-1] = static_cast<wchar_t>(L'0' + value);
  }
  return end;
}

wchar_t* WriteSigned(wchar_t* to, std::int32_t value) {
  if (value >= 0) return WriteUnsigned(to, static_cast<std::uint32_t>(value));
  *to = L'-';
  return WriteUnsigned(to + 1, 0u - static_cast<std::uint32_t>(value));
}

// The row heads of one layout: every name padded to kWidth, and " = " behind it.
template <std::size_t kWidth>
class Rows {
 public:
  static constexpr std::size_t kHeadChars = kWidth + 3;

  void Add(std::string name) {
    name.resize(kWidth, ' ');
    name += " = ";
    heads_.insert(heads_.end(), name.begin(), name.end());
    ++count_;
  }
  void AddPart(const std::string& prefix) {
    for (const char* name :
         {"id", "gain", "start", "shift", "rate_hz", "error", "count", "total"}) {
      Add(prefix + name);
    }
  }
  void AddTable(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) Add("table[" + std::to_string(i) + "]");
  }
  std::size_t RoomChars() const { return count_ * (kHeadChars + kMostValueChars + 2) + 2; }
  const wchar_t* Heads() const { return heads_.data(); }

 private:
  std::vector<wchar_t> heads_;
  std::size_t count_ = 0;
};

// Writes rows one after the other.
template <std::size_t kWidth>
class RowWriter {
 public:
  RowWriter(const Rows<kWidth>& rows, wchar_t* to) : head_(rows.Heads()), to_(to) {}

  wchar_t* At() const { return to_; }
  void Unsigned(std::uint32_t value) {
    Head();
    to_ = WriteUnsigned(to_, value);
    Foot();
  }
  void Signed(std::int32_t value) {
    Head();
    to_ = WriteSigned(to_, value);
    Foot();
  }
  void Empty() {
    Head();
    Foot();
  }
  void Part(const std::uint8_t* from) {
    Unsigned(from[0]);
    Signed(static_cast<std::int8_t>(from[1]));
    Unsigned(Load<2>(from + 2));
    Signed(static_cast<std::int16_t>(Load<2>(from + 4)));
    Unsigned(Load<4>(from + 6));
    Signed(static_cast<std::int32_t>(Load<4>(from + 10)));
    Unsigned(Load<2>(from + 14));
    Unsigned(Load<4>(from + 16));
  }
  void Table(const std::uint8_t* from, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) Unsigned(Load<2>(from + 2 * i));
  }

 private:
  void Head() {
    std::memcpy(to_, head_, Rows<kWidth>::kHeadChars * sizeof(wchar_t));
    head_ += Rows<kWidth>::kHeadChars;
    to_ += Rows<kWidth>::kHeadChars;
  }
  void Foot() {
    to_[0] = L' ';
    to_[1] = L'\n';
    to_ += 2;
  }

  const wchar_t* head_;
  wchar_t* to_;
};

constexpr std::size_t kSmallWidth = 13;   // ".frequency_hz"
constexpr std::size_t kMediumWidth = 15;  // ".second_rate_hz"
constexpr std::size_t kLargeWidth = 12;   // "..groups[63]"
constexpr std::size_t kArrayWidth = 10;   // "table[511]"

const Rows<kSmallWidth>& SmallRows() {
  static const Rows<kSmallWidth> rows = [] {
    Rows<kSmallWidth> made;
    for (const char* name :
         {".state", ".level", ".channel", ".offset", ".frequency_hz", ".drift_ppb"}) {
      made.Add(name);
    }
    return made;
  }();
  return rows;
}

const Rows<kMediumWidth>& MediumRows() {
  static const Rows<kMediumWidth> rows = [] {
    Rows<kMediumWidth> made;
    for (const char* prefix : {".first_", ".second_", ".third_"}) made.AddPart(prefix);
    for (const char* name : {".left", ".right"}) {
      made.Add(name);
      made.AddPart("..");
    }
    for (std::size_t i = 0; i < bench_shapes::kMediumLegs; ++i) {
      made.Add("..legs[" + std::to_string(i) + "]");
      for (const char* name : {"...number", "...x", "...y", "...weight"}) made.Add(name);
    }
    made.AddTable(bench_shapes::kMediumTable);
    return made;
  }();
  return rows;
}

const Rows<kLargeWidth>& LargeRows() {
  static const Rows<kLargeWidth> rows = [] {
    Rows<kLargeWidth> made;
    for (std::size_t i = 0; i < bench_shapes::kLargeGroups; ++i) {
      made.Add("..groups[" + std::to_string(i) + "]");
      made.AddPart("...");
    }
    return made;
  }();
  return rows;
}

const Rows<kArrayWidth>& ArrayRows() {
  static const Rows<kArrayWidth> rows = [] {
    Rows<kArrayWidth> made;
    made.AddTable(bench_shapes::kArrayTable);
    return made;
  }();
  return rows;
}

void WriteSmall(RowWriter<kSmallWidth>& to, const std::uint8_t* from) {
  to.Unsigned(from[0]);
  to.Signed(static_cast<std::int8_t>(from[1]));
  to.Unsigned(Load<2>(from + 2));
  to.Signed(static_cast<std::int16_t>(Load<2>(from + 4)));
  to.Unsigned(Load<4>(from + 6));
  to.Signed(static_cast<std::int32_t>(Load<4>(from + 10)));
}

void WriteMedium(RowWriter<kMediumWidth>& to, const std::uint8_t* from) {
  for (std::size_t i = 0; i < 3; ++i, from += bench_shapes::kPartBytes) to.Part(from);
  for (std::size_t i = 0; i < 2; ++i, from += bench_shapes::kPartBytes) {
    to.Empty();
    to.Part(from);
  }
  for (std::size_t i = 0; i < bench_shapes::kMediumLegs; ++i, from += bench_shapes::kLegBytes) {
    to.Empty();
    to.Unsigned(from[0]);
    to.Signed(static_cast<std::int16_t>(Load<2>(from + 1)));
    to.Signed(static_cast<std::int16_t>(Load<2>(from + 3)));
    to.Unsigned(Load<4>(from + 5));
  }
  to.Table(from, bench_shapes::kMediumTable);
}

void WriteLarge(RowWriter<kLargeWidth>& to, const std::uint8_t* from) {
  for (std::size_t i = 0; i < bench_shapes::kLargeGroups; ++i, from += bench_shapes::kPartBytes) {
    to.Empty();
    to.Part(from);
  }
}

void WriteArray(RowWriter<kArrayWidth>& to, const std::uint8_t* from) {
  to.Table(from, bench_shapes::kArrayTable);
}

template <std::size_t kBytes, std::size_t kWidth, typename Write>
wchar_t* RenderWith(const Rows<kWidth>& rows, std::span<const std::uint8_t> body,
                    std::size_t* lengthChars, Write write) {
  if (body.size() != kBytes) return nullptr;
  auto* text = static_cast<wchar_t*>(PoolMalloc(rows.RoomChars() * sizeof(wchar_t)));
  if (text == nullptr) return nullptr;
  text[0] = L'\n';
  RowWriter<kWidth> writer(rows, text + 1);
  write(writer, body.data());
  *writer.At() = L'\0';
  *lengthChars = static_cast<std::size_t>(writer.At() - text - 1);
  return text;
}

}  // namespace

std::uint8_t* Encode(Shape shape, std::wstring_view line, std::uint32_t* lengthBytes) {
  switch (shape) {
    case Shape::kSmall:
      return EncodeWith<bench_shapes::kSmallBytes>(line, lengthBytes, ReadSmall);
    case Shape::kMedium:
      return EncodeWith<bench_shapes::kMediumBytes>(line, lengthBytes, ReadMedium);
    case Shape::kLarge:
      return EncodeWith<bench_shapes::kLargeBytes>(line, lengthBytes, ReadLarge);
    case Shape::kArray:
      return EncodeWith<bench_shapes::kArrayBytes>(line, lengthBytes, ReadArray);
  }
  return nullptr;
}

wchar_t* Render(Shape shape, std::span<const std::uint8_t> body, std::size_t* lengthChars) {
  switch (shape) {
    case Shape::kSmall:
      return RenderWith<bench_shapes::kSmallBytes>(SmallRows(), body, lengthChars, WriteSmall);
    case Shape::kMedium:
      return RenderWith<bench_shapes::kMediumBytes>(MediumRows(), body, lengthChars, WriteMedium);
    case Shape::kLarge:
      return RenderWith<bench_shapes::kLargeBytes>(LargeRows(), body, lengthChars, WriteLarge);
    case Shape::kArray:
      return RenderWith<bench_shapes::kArrayBytes>(ArrayRows(), body, lengthChars, WriteArray);
  }
  return nullptr;
}

}  // namespace limit

#include "bench/peer_codec.h"

#include <bench_shapes.pb.h>
#include <google/protobuf/text_format.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <vector>

#include "bench/limit_codec.h"
#include "platform/bounded/pool.h"

namespace peer {
namespace {

using bench_shapes::Shape;
using google::protobuf::TextFormat;

// Writes a body front to back.
class Packer {
 public:
  explicit Packer(std::uint8_t* to) : to_(to) {}
  template <std::uint32_t kBytes>
  void Put(std::uint32_t value) {
    for (std::uint32_t i = 0; i < kBytes; ++i) *to_++ = static_cast<std::uint8_t>(value >> (8 * i));
  }
  template <std::uint32_t kBytes>
  void Put(std::int32_t value) {
    Put<kBytes>(static_cast<std::uint32_t>(value));
  }

 private:
  std::uint8_t* to_;
};

// Reads a body front to back.
class Unpacker {
 public:
  explicit Unpacker(const std::uint8_t* from) : from_(from) {}
  template <std::uint32_t kBytes>
  std::uint32_t Unsigned() {
    std::uint32_t value = 0;
    for (std::uint32_t i = 0; i < kBytes; ++i) value |= std::uint32_t{*from_++} << (8 * i);
    return value;
  }
  template <std::uint32_t kBytes>
  std::int32_t Signed() {
    const std::uint32_t value = Unsigned<kBytes>() << (32 - 8 * kBytes);
    return static_cast<std::int32_t>(value) >> (32 - 8 * kBytes);
  }

 private:
  const std::uint8_t* from_;
};

void Pack(const SmallData& from, Packer& to) {
  to.Put<1>(from.state());
  to.Put<1>(from.level());
  to.Put<2>(from.channel());
  to.Put<2>(from.offset());
  to.Put<4>(from.frequency_hz());
  to.Put<4>(from.drift_ppb());
}

void Unpack(Unpacker& from, SmallData& to) {
  to.set_state(from.Unsigned<1>());
  to.set_level(from.Signed<1>());
  to.set_channel(from.Unsigned<2>());
  to.set_offset(from.Signed<2>());
  to.set_frequency_hz(from.Unsigned<4>());
  to.set_drift_ppb(from.Signed<4>());
}

void Pack(const Part& from, Packer& to) {
  to.Put<1>(from.id());
  to.Put<1>(from.gain());
  to.Put<2>(from.start());
  to.Put<2>(from.shift());
  to.Put<4>(from.rate_hz());
  to.Put<4>(from.error());
  to.Put<2>(from.count());
  to.Put<4>(from.total());
}

void Unpack(Unpacker& from, Part& to) {
  to.set_id(from.Unsigned<1>());
  to.set_gain(from.Signed<1>());
  to.set_start(from.Unsigned<2>());
  to.set_shift(from.Signed<2>());
  to.set_rate_hz(from.Unsigned<4>());
  to.set_error(from.Signed<4>());
  to.set_count(from.Unsigned<2>());
  to.set_total(from.Unsigned<4>());
}

void Pack(const Leg& from, Packer& to) {
  to.Put<1>(from.number());
  to.Put<2>(from.x());
  to.Put<2>(from.y());
  to.Put<4>(from.weight());
}

void Unpack(Unpacker& from, Leg& to) {
  to.set_number(from.Unsigned<1>());
  to.set_x(from.Signed<2>());
  to.set_y(from.Signed<2>());
  to.set_weight(from.Unsigned<4>());
}

// The run of a part's eight values that medium_data has under a prefix.
#define PEER_RUN(run)                                   \
  void Pack_##run(const MediumData& from, Packer& to) { \
    to.Put<1>(from.run##_id());                         \
    to.Put<1>(from.run##_gain());                       \
    to.Put<2>(from.run##_start());                      \
    to.Put<2>(from.run##_shift());                      \
    to.Put<4>(from.run##_rate_hz());                    \
    to.Put<4>(from.run##_error());                      \
    to.Put<2>(from.run##_count());                      \
    to.Put<4>(from.run##_total());                      \
  }                                                     \
  void Unpack_##run(Unpacker& from, MediumData& to) {   \
    to.set_##run##_id(from.Unsigned<1>());              \
    to.set_##run##_gain(from.Signed<1>());              \
    to.set_##run##_start(from.Unsigned<2>());           \
    to.set_##run##_shift(from.Signed<2>());             \
    to.set_##run##_rate_hz(from.Unsigned<4>());         \
    to.set_##run##_error(from.Signed<4>());             \
    to.set_##run##_count(from.Unsigned<2>());           \
    to.set_##run##_total(from.Unsigned<4>());           \
  }

PEER_RUN(first)
PEER_RUN(second)
PEER_RUN(third)

#undef PEER_RUN

void Pack(const MediumData& from, Packer& to) {
  Pack_first(from, to);
  Pack_second(from, to);
  Pack_third(from, to);
  Pack(from.left(), to);
  Pack(from.right(), to);
  for (const Leg& leg : from.legs()) Pack(leg, to);
  for (const std::uint32_t value : from.table()) to.Put<2>(value);
}

void Unpack(Unpacker& from, MediumData& to) {
  Unpack_first(from, to);
  Unpack_second(from, to);
  Unpack_third(from, to);
  Unpack(from, *to.mutable_left());
  Unpack(from, *to.mutable_right());
  for (std::size_t i = 0; i < bench_shapes::kMediumLegs; ++i) Unpack(from, *to.add_legs());
  for (std::size_t i = 0; i < bench_shapes::kMediumTable; ++i) to.add_table(from.Unsigned<2>());
}

void Pack(const LargeData& from, Packer& to) {
  for (const Part& group : from.groups()) Pack(group, to);
}

void Unpack(Unpacker& from, LargeData& to) {
  for (std::size_t i = 0; i < bench_shapes::kLargeGroups; ++i) Unpack(from, *to.add_groups());
}

void Pack(const ArrayData& from, Packer& to) {
  for (const std::uint32_t value : from.table()) to.Put<2>(value);
}

void Unpack(Unpacker& from, ArrayData& to) {
  for (std::size_t i = 0; i < bench_shapes::kArrayTable; ++i) to.add_table(from.Unsigned<2>());
}

// Whether the message has as many elements as the body has room for.
bool Fits(const SmallData&) { return true; }
bool Fits(const MediumData& message) {
  return message.legs_size() == bench_shapes::kMediumLegs &&
         message.table_size() == bench_shapes::kMediumTable;
}
bool Fits(const LargeData& message) { return message.groups_size() == bench_shapes::kLargeGroups; }
bool Fits(const ArrayData& message) { return message.table_size() == bench_shapes::kArrayTable; }

template <typename Message, std::size_t kBytes>
std::uint8_t* EncodeWith(const std::string& text, std::uint32_t* lengthBytes) {
  static Message message;
  if (!TextFormat::ParseFromString(text, &message) || !Fits(message)) return nullptr;
  auto* body = static_cast<std::uint8_t*>(PoolMalloc(kBytes));
  if (body == nullptr) return nullptr;
  Packer to(body);
  Pack(message, to);
  *lengthBytes = kBytes;
  return body;
}

// The heads of a layout's rows as they were in the text that the limit wrote for it: the peer's
// printed lines come in the same order, one for each row.
struct Heads {
  std::size_t headChars = 0;
  std::vector<wchar_t> heads;
};

Heads HeadsOf(std::wstring_view text) {
  Heads made;
  made.headChars = text.find(L" = ") + 3;
  while (!text.empty()) {
    made.heads.insert(made.heads.end(), text.begin(), text.begin() + made.headChars);
    text.remove_prefix(text.find(L'\n') + 1);
  }
  return made;
}

// Lines "name: value", "name {" and "}" to rows.
std::size_t LayOut(const Heads& heads, std::string_view printed, wchar_t* to) {
  wchar_t* const begin = to;
  const wchar_t* head = heads.heads.data();
  while (!printed.empty()) {
    const std::size_t end = printed.find('\n');
    const std::string_view line = printed.substr(0, end);
    printed.remove_prefix(end + 1);
    if (line.back() == '}') continue;
    std::memcpy(to, head, heads.headChars * sizeof(wchar_t));
    head += heads.headChars;
    to += heads.headChars;
    if (line.back() != '{') {
      const std::string_view value = line.substr(line.find(':') + 2);
      to = std::copy(value.begin(), value.end(), to);
    }
    *to++ = L' ';
    *to++ = L'\n';
  }
  return static_cast<std::size_t>(to - begin);
}

template <typename Message, std::size_t kBytes>
wchar_t* RenderWith(const Heads& heads, std::span<const std::uint8_t> body,
                    std::size_t* lengthChars) {
  if (body.size() != kBytes) return nullptr;
  static Message message;
  static std::string printed;
  message.Clear();
  Unpacker from(body.data());
  Unpack(from, message);
  if (!TextFormat::PrintToString(message, &printed)) return nullptr;
  const std::size_t roomChars = heads.heads.size() + printed.size() + 2;
  auto* text = static_cast<wchar_t*>(PoolMalloc(roomChars * sizeof(wchar_t)));
  if (text == nullptr) return nullptr;
  text[0] = L'\n';
  *lengthChars = LayOut(heads, printed, text + 1);
  text[1 + *lengthChars] = L'\0';
  return text;
}

}  // namespace

std::uint8_t* Encode(Shape shape, const std::string& text, std::uint32_t* lengthBytes) {
  switch (shape) {
    case Shape::kSmall:
      return EncodeWith<SmallData, bench_shapes::kSmallBytes>(text, lengthBytes);
    case Shape::kMedium:
      return EncodeWith<MediumData, bench_shapes::kMediumBytes>(text, lengthBytes);
    case Shape::kLarge:
      return EncodeWith<LargeData, bench_shapes::kLargeBytes>(text, lengthBytes);
    case Shape::kArray:
      return EncodeWith<ArrayData, bench_shapes::kArrayBytes>(text, lengthBytes);
  }
  return nullptr;
}

wchar_t* Render(Shape shape, std::span<const std::uint8_t> body, std::size_t* lengthChars) {
  static std::array<Heads, bench_shapes::kShapes.size()> known;
  Heads& heads = known[static_cast<std::size_t>(shape)];
  if (heads.heads.empty()) {
    std::size_t chars = 0;
    wchar_t* const text = limit::Render(shape, body, &chars);
    if (text == nullptr) return nullptr;
    heads = HeadsOf({text + 1, chars});
    PoolFree(text);
  }
  switch (shape) {
    case Shape::kSmall:
      return RenderWith<SmallData, bench_shapes::kSmallBytes>(heads, body, lengthChars);
    case Shape::kMedium:
      return RenderWith<MediumData, bench_shapes::kMediumBytes>(heads, body, lengthChars);
    case Shape::kLarge:
      return RenderWith<LargeData, bench_shapes::kLargeBytes>(heads, body, lengthChars);
    case Shape::kArray:
      return RenderWith<ArrayData, bench_shapes::kArrayBytes>(heads, body, lengthChars);
  }
  return nullptr;
}

}  // namespace peer

#include "platform/catalogue/cmd_info_store.h"

#include <algorithm>
#include <utility>

#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue_schema.h"
#include "platform/os/utf8.h"

namespace {

constexpr std::uint32_t kDamaged = result::kCatalogueDamaged;
constexpr std::size_t kMaxGroups = 65535;
constexpr std::size_t kMaxArena = 0x40000000;  // offsets are 32 bits

bool IsAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(),
                     [](char c) { return static_cast<unsigned char>(c) < 128; });
}

}  // namespace

bool CmdInfoStore::FindGroup(std::string_view group, std::uint16_t& index) {
  // Commands of a group mostly stand together.
  if (!records_.empty() && groups_[records_.back().group] == group) {
    index = records_.back().group;
    return true;
  }
  if (const auto known = groupIndices_.find(group); known != groupIndices_.end()) {
    index = known->second;
    return true;
  }
  if (groups_.size() >= kMaxGroups) return false;
  index = static_cast<std::uint16_t>(groups_.size());
  groups_.emplace_back(group);
  groupIndices_.emplace(group, index);
  return true;
}

// With a zero behind it.
template <typename Name>
std::uint32_t CmdInfoStore::StoreName(const Name& name) {
  const std::uint32_t place = names_.Room(name.size() + 1);
  *std::copy(name.begin(), name.end(), names_.At(place)) = L'\0';
  return place;
}

std::uint32_t CmdInfoStore::StoreText(std::string_view text) {
  const std::uint32_t place = texts_.Room(text.size());
  if (!text.empty()) std::copy(text.begin(), text.end(), texts_.At(place));
  return place;
}

bool CmdInfoStore::Add(std::uint32_t id, std::string_view name, std::string_view description,
                       std::string_view group, std::uint32_t flags) {
  std::uint16_t groupIndex = 0;
  if (names_.SizeChars() + name.size() > kMaxArena ||
      texts_.SizeChars() + description.size() > kMaxArena || !FindGroup(group, groupIndex)) {
    return false;
  }
  const std::uint32_t nameChars = IsAscii(name) ? StoreName(name) : StoreName(os::Utf8ToWide(name));
  const std::uint32_t textBytes = StoreText(description);
  records_.push_back({id, nameChars, textBytes, groupIndex, static_cast<std::uint16_t>(flags)});
  return true;
}

void CmdInfoStore::AddCombinedText(std::uint32_t index, std::string_view text) {
  combined_[index].emplace_back(text);
}

void CmdInfoStore::Seal() {
  names_.Trim();
  records_.shrink_to_fit();
  texts_.Trim();
  groupIndices_.clear();
}

std::string_view CmdInfoStore::DescriptionAt(std::uint32_t index) const noexcept {
  const std::uint32_t begin = records_[index].textBytes;
  const std::uint32_t next =
      index + 1 < records_.size() ? records_[index + 1].textBytes : BlockArena<char>::kNoNext;
  const std::uint32_t end = texts_.EndAt(begin, next);
  return begin == end ? std::string_view() : std::string_view(texts_.At(begin), end - begin);
}

bool CmdInfoStore::HasCombinedText(std::uint32_t index, std::string_view text) const {
  const auto found = combined_.find(index);
  return found != combined_.end() &&
         std::find(found->second.begin(), found->second.end(), text) != found->second.end();
}

std::uint32_t CmdInfoStore::Find(std::uint32_t id, std::uint32_t& hint) const noexcept {
  const auto isFirst = [&](std::uint32_t index) {
    return index < Count() && records_[index].id == id &&
           (index == 0 || records_[index - 1].id != id);
  };
  if (isFirst(hint)) return hint;
  if (hint < Count() && isFirst(hint + 1)) return ++hint;
  const auto found = std::lower_bound(
      records_.begin(), records_.end(), id,
      [](const Record& record, std::uint32_t wanted) { return record.id < wanted; });
  if (found == records_.end() || found->id != id) return kNone;
  hint = static_cast<std::uint32_t>(found - records_.begin());
  return hint;
}

std::uint32_t CmdInfoStore::Fill(const SqliteFile& file) {
  std::uint32_t status = FillCommands(file);
  if (status == 0) status = FillCombinedTexts(file);
  Seal();
  return status;
}

// What the file says of itself is believed only as far as its size makes it likely.
void CmdInfoStore::ReserveRecords(const SqliteFile& file) {
  SqliteStatement said;
  if (said.Prepare(file,
                   "SELECT min(commands, page_count * page_size / 32) "
                   "FROM about, pragma_page_count, pragma_page_size") != 0 ||
      said.Step() != 0 || said.Number(0) < 0) {
    return;
  }
  records_.reserve(static_cast<std::size_t>(said.Number(0)));
}

std::uint32_t CmdInfoStore::FillCommands(const SqliteFile& file) {
  SqliteStatement rows;
  std::uint32_t status =
      rows.Prepare(file, "SELECT position, id, name, text, in_group, flags FROM command");
  if (status != 0) return status;
  ReserveRecords(file);
  std::int64_t lastId = 0;
  while ((status = rows.Step()) == 0) {
    const std::int64_t id = rows.Number(1);
    const std::int64_t flags = rows.Number(5);
    // Positions without a hole: a file that leads back to rows already read ends here.
    const bool good = rows.Number(0) == static_cast<std::int64_t>(records_.size()) + 1 &&
                      id >= lastId && id <= INT64_C(0xFFFFFFFF) && flags >= 0 &&
                      flags <= catalogue::kKnownFlags;
    if (!good || !Add(static_cast<std::uint32_t>(id), rows.Text(2), rows.Text(3), rows.Text(4),
                      static_cast<std::uint32_t>(flags))) {
      return kDamaged;
    }
    lastId = id;
  }
  return status == SqliteStatement::kDone ? 0 : status;
}

std::uint32_t CmdInfoStore::FillCombinedTexts(const SqliteFile& file) {
  SqliteStatement rows;
  std::uint32_t status =
      rows.Prepare(file, "SELECT command, position, text FROM combined_text ORDER BY 1, 2");
  if (status != 0) return status;
  std::int64_t lastCommand = 0;
  std::int64_t lastPosition = 0;
  while ((status = rows.Step()) == 0) {
    const std::int64_t command = rows.Number(0);
    const std::int64_t position = rows.Number(1);
    const bool ascends =
        command > lastCommand || (command == lastCommand && position > lastPosition);
    if (!ascends || command < 1 || command > Count()) return kDamaged;
    AddCombinedText(static_cast<std::uint32_t>(command - 1), rows.Text(2));
    lastCommand = command;
    lastPosition = position;
  }
  return status == SqliteStatement::kDone ? 0 : status;
}

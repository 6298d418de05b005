#include "platform/catalogue/cmd_database.h"

#include <algorithm>
#include <new>

#include "platform/base/bench_setup.h"
#include "platform/base/result_codes.h"
#include "platform/catalogue/catalogue.h"
#include "platform/catalogue/catalogue_registry.h"
#include "platform/catalogue/catalogue_schema.h"

namespace {

constexpr std::uint32_t kScopeSendable = 1;
constexpr std::uint32_t kScopeIndicationOnly = 2;
constexpr std::uint32_t kDiagnosticChannel = 256;

// "0x" and one to eight hexadecimal digits.
bool ParseId(const wchar_t* text, std::uint32_t& id) {
  if (text == nullptr || text[0] != L'0' || (text[1] != L'x' && text[1] != L'X')) return false;
  const wchar_t* digit = text + 2;
  id = 0;
  for (; *digit != L'\0'; ++digit) {
    const wchar_t lower = *digit >= L'A' && *digit <= L'F' ? *digit + 32 : *digit;
    const bool isDecimal = lower >= L'0' && lower <= L'9';
    if (!isDecimal && (lower < L'a' || lower > L'f')) return false;
    if (digit - text >= 10) return false;
    id = id << 4 | static_cast<std::uint32_t>(isDecimal ? lower - L'0' : lower - L'a' + 10);
  }
  return digit != text + 2;
}

}  // namespace

CCmdDatabase::CCmdDatabase() : path_(bench::GetSetup().catalogue), isBench_(true) {}

CCmdDatabase::CCmdDatabase(const QCString& path) : path_(path) {}

CCmdDatabase::~CCmdDatabase() = default;

std::uint32_t CCmdDatabase::EnsureOpen() {
  if (opened_) return openStatus_;
  opened_ = true;
  openStatus_ = catalogue_registry::Open(path_, isBench_, catalogue_);
  if (openStatus_ == 0) openStatus_ = catalogue_->Commands(commands_);
  return openStatus_;
}

std::uint32_t CCmdDatabase::EnumCommands(QCList<CmdInfo>& list, std::uint32_t scopeMask,
                                         std::uint32_t channel, std::uint32_t /*reserved1*/,
                                         std::uint32_t /*reserved2*/) {
  const std::uint32_t status = EnsureOpen();
  if (status != 0 || channel != kDiagnosticChannel) return status;
  const std::size_t countBefore = list.GetCount();
  try {
    list.Reserve(countBefore + commands_->Count());
    for (std::uint32_t i = 0; i < commands_->Count(); ++i) {
      const bool isSendable = (commands_->FlagsAt(i) & catalogue::kFlagSendable) != 0;
      if ((scopeMask & (isSendable ? kScopeSendable : kScopeIndicationOnly)) == 0) continue;
      list.AddTail(CmdInfo(commands_, i));
    }
    return result::kOk;
  } catch (const std::bad_alloc&) {
    while (list.GetCount() > countBefore) list.RemoveAt(list.GetCount() - 1);
    return result::kNoMemory;
  }
}

std::uint32_t CCmdDatabase::FindCommand(const wchar_t* idText) {
  std::uint32_t id = 0;
  if (EnsureOpen() != 0 || !ParseId(idText, id)) return CmdInfoStore::kNone;
  return commands_->Find(id, hint_);
}

bool CCmdDatabase::IsCmdIdInWhiteList(const wchar_t* idText) {
  const std::uint32_t index = FindCommand(idText);
  return index != CmdInfoStore::kNone && (commands_->FlagsAt(index) & catalogue::kFlagListed) != 0;
}

bool CCmdDatabase::IsCmdIdCombinedInWhiteList(const wchar_t* idText, const wchar_t* rest) {
  if (rest == nullptr || *rest == L'\0') return true;
  const std::uint32_t index = FindCommand(idText);
  if (index == CmdInfoStore::kNone) return false;
  const std::uint32_t flags = commands_->FlagsAt(index);
  if ((flags & catalogue::kFlagCombinedNone) != 0) return false;
  if ((flags & catalogue::kFlagCombinedListed) == 0) return true;
  return commands_->HasCombinedText(index, QCString(rest).ToUtf8());
}

int CCmdDatabase::VerifyDosCommand(const wchar_t* word) {
  if (word == nullptr || *word == L'\0' || EnsureOpen() != 0) return 0;
  const std::vector<std::string>& words = catalogue_->HostWords();
  return std::binary_search(words.begin(), words.end(), QCString(word).ToUtf8()) ? 1 : 0;
}

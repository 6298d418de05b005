#include "platform/catalogue/cmd_info.h"

#include "platform/catalogue/catalogue_schema.h"
#include "platform/catalogue/cmd_info_store.h"

CmdInfo CmdInfo::Make(std::uint32_t id, const QCString& name, const QCString& description,
                      const QCString& group, std::uint32_t cnfKind, std::uint32_t indKind) {
  auto store = std::make_shared<CmdInfoStore>();
  const std::uint32_t flags = catalogue::kFlagListed | catalogue::kFlagSendable |
                              (cnfKind & 3) << catalogue::kShiftCnfKind |
                              (indKind & 3) << catalogue::kShiftIndKind;
  store->Add(id, name.ToUtf8(), description.ToUtf8(), group.ToUtf8(), flags);
  store->Seal();
  return {std::move(store), 0};
}

std::uint32_t CmdInfo::GetId() const noexcept {
  return store_ != nullptr ? store_->IdAt(index_) : 0;
}

const wchar_t* CmdInfo::GetName() const noexcept {
  return store_ != nullptr ? store_->NameAt(index_) : L"";
}

QCString CmdInfo::GetDescription() const {
  return store_ != nullptr ? QCString::FromUtf8(store_->DescriptionAt(index_)) : QCString();
}

QCString CmdInfo::GetGroup() const {
  return store_ != nullptr ? QCString::FromUtf8(store_->GroupAt(index_)) : QCString();
}

std::uint32_t CmdInfo::GetCnfKind() const noexcept {
  return store_ != nullptr ? store_->FlagsAt(index_) >> catalogue::kShiftCnfKind & 3 : 0;
}

std::uint32_t CmdInfo::GetIndKind() const noexcept {
  return store_ != nullptr ? store_->FlagsAt(index_) >> catalogue::kShiftIndKind & 3 : 0;
}

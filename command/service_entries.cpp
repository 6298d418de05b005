#include "command/service_entries.h"

#include "link/lirn_kiv_client.h"
#include "platform/base/result_codes.h"

namespace SvcKivClass {
namespace {

std::atomic<const ServiceContext*> g_context{nullptr};

LirnKivClient* Link() {
  const ServiceContext* context = g_context.load(std::memory_order_acquire);
  return context != nullptr ? context->link.load(std::memory_order_acquire) : nullptr;
}

std::int32_t IsUeConnected() {
  const ServiceContext* context = g_context.load(std::memory_order_acquire);
  return context != nullptr && context->switches->IsUeConnected() ? 1 : 0;
}

std::uint32_t PostDiagData(std::uint32_t cmdId, const void* data, std::uint32_t lengthBytes,
                           std::uint16_t value, std::uint32_t delay) {
  LirnKivClient* link = Link();
  // Without a link client this entry alone answers success; channels rely on it.
  if (link == nullptr) return result::kOk;
  return link->PostCmd(cmdId, data, lengthBytes, value, 0, delay);
}

std::uint32_t PostHciData(std::uint32_t cmdId, const void* data, std::uint32_t lengthBytes) {
  LirnKivClient* link = Link();
  return link == nullptr ? result::kNotConnected : link->PostSdtFrame(cmdId, data, lengthBytes);
}

std::uint32_t PostRawText(const void* text, std::uint32_t lengthBytes) {
  LirnKivClient* link = Link();
  return link == nullptr ? result::kNotConnected : link->PostRawData(text, lengthBytes);
}

}  // namespace

void SetServiceContext(const ServiceContext* context) {
  g_context.store(context, std::memory_order_release);
}

ChannelServiceTable MakeServiceTable(void* controller, void* application) {
  ChannelServiceTable table{};
  table.isUeConnected = &IsUeConnected;
  table.postDiagData = &PostDiagData;
  table.postHciData = &PostHciData;
  table.postRawText = &PostRawText;
  table.controller = controller;
  table.application = application;
  return table;
}

}  // namespace SvcKivClass

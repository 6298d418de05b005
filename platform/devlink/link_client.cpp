#include "platform/devlink/link_client.h"

#include "platform/base/result_codes.h"
#include "platform/devlink/installed_link.h"
#include "platform/devlink/link_engine.h"

namespace {

// The one message that the link's thread knows: end a pause between two attempts to connect.
constexpr std::uint32_t kMessageHurry = 1;

std::span<const std::uint8_t> Body(const void* bytes, std::uint32_t lengthBytes) {
  return {static_cast<const std::uint8_t*>(bytes), lengthBytes};
}

}  // namespace

CLinkClient::CLinkClient(std::int64_t /*word*/, const wchar_t* name)
    : name_(name), engine_(std::make_shared<devlink::LinkEngine>(*this, name_.ToUtf8())) {}

CLinkClient::~CLinkClient() {
  devlink::ForgetInstalledLink(engine_.get());
  engine_->ForgetClient();
}

std::uint32_t CLinkClient::InstallClient(std::uint32_t /*channel*/, std::uint32_t /*ueId*/) {
  devlink::SetInstalledLink(engine_);
  return result::kOk;
}

std::uint32_t CLinkClient::StartConnect(std::uint32_t /*channel*/, std::uint32_t /*ueId*/,
                                        std::uint32_t /*mask*/, std::int32_t /*flag1*/,
                                        std::int32_t /*flag2*/) {
  engine_->Start();
  return result::kOk;
}

std::uint32_t CLinkClient::StopConnect(std::uint32_t /*channel*/, std::uint32_t /*ueId*/,
                                       std::uint32_t /*mask*/) {
  engine_->Stop();
  return result::kOk;
}

void CLinkClient::Shutdown(std::uint32_t timeoutMs, std::int32_t wait) {
  engine_->Shutdown(devlink::Milliseconds(wait != 0 ? timeoutMs : 0));
}

void CLinkClient::ThreadHandler(std::uint32_t message, std::uint64_t /*parameter1*/,
                                std::int64_t /*parameter2*/) {
  if (message == kMessageHurry) engine_->Hurry();
}

QCString CLinkClient::GetErrorString(std::uint32_t status) const { return result::Text(status); }

QCString CLinkClient::GetResultCodeString(std::uint32_t resultCode) const {
  return result::Text(resultCode);
}

CLinkClientDiagCmd::CLinkClientDiagCmd(std::int64_t word, const wchar_t* name)
    : CLinkClient(word, name) {}

CLinkClientDiagCmd::~CLinkClientDiagCmd() = default;

std::uint32_t CLinkClientDiagCmd::PostCmd(std::uint32_t cmdId, const void* body,
                                          std::uint32_t lengthBytes, std::uint16_t tag,
                                          std::uint16_t word16, std::uint32_t word) {
  if (body == nullptr && lengthBytes != 0) return result::kFailure;
  devlink::OutMessage request;
  request.kind = devlink::MessageKind::kRequest;
  request.id = cmdId;
  request.tag = tag;
  request.word16 = word16;
  request.word32 = word;
  request.body = Body(body, lengthBytes);
  return engine_->Post(request);
}

std::uint32_t CLinkClientDiagCmd::PostRawData(const void* bytes, std::uint32_t lengthBytes) {
  if (bytes == nullptr && lengthBytes != 0) return result::kFailure;
  devlink::OutMessage text;
  text.kind = devlink::MessageKind::kRawText;
  text.body = Body(bytes, lengthBytes);
  return engine_->Post(text);
}

std::uint32_t CLinkClientDiagCmd::PostSdtFrame(std::uint32_t cmdId, const void* bytes,
                                               std::uint32_t lengthBytes) {
  if (bytes == nullptr && lengthBytes != 0) return result::kFailure;
  devlink::OutMessage frame;
  frame.kind = devlink::MessageKind::kSdtFrame;
  frame.id = cmdId;
  frame.body = Body(bytes, lengthBytes);
  return engine_->Post(frame);
}

#include "svckiv/svc_kiv.h"

#include "service/svc_kiv_app.h"

namespace SvcKivSpace {
namespace {

// Made on the first call of any function, destroyed when the library is unloaded.
SvcKivClass::SvcKivApp& App() {
  static SvcKivClass::SvcKivApp app;
  return app;
}

}  // namespace

SvcKiv::SvcKiv() = default;

SvcKivMessage* SvcKiv::GetMsgSender() { return App().GetMsgSender(); }

MorviCmdList* SvcKiv::GetMorviCmdList() { return App().GetMorviCmdList(); }

CSVCKIVConfig* SvcKiv::Start() { return App().Start(); }

void SvcKiv::Stop() { App().Stop(); }

void SvcKiv::ReloadDb() { App().ReloadDb(); }

void SvcKiv::SetUEConnectStatus(int status) { App().SetUEConnectStatus(status); }

void SvcKiv::GetDiagCmdResponse(const wchar_t* line, QCString& reply) {
  App().GetDiagCmdResponse(line, reply);
}

unsigned long SvcKiv::TestServerBufferResponse(const void* buffer, unsigned long lengthBytes) {
  return App().TestServerResponse(buffer, lengthBytes);
}

void SvcKiv::SetHexadecimalFlag(bool hexadecimal) { App().SetHexadecimalFlag(hexadecimal); }

void SvcKiv::SetIsEnableInstantInd(bool enable) const { App().SetIsEnableInstantInd(enable); }

void SvcKiv::SetInstantIndTime(int periodMs) { App().SetInstantIndTime(periodMs); }

}  // namespace SvcKivSpace

#include "svckiv/svc_kiv.h"

#include <new>
#include <system_error>
#include <utility>

#include "platform/base/result_codes.h"
#include "service/svc_kiv_app.h"

namespace SvcKivSpace {
namespace {

// What a user is told when a line ran out of memory, and what is left where even that does not fit:
// short enough to need none.
constexpr wchar_t kNoMemoryReply[] = L"*** Not enough memory!\n";
constexpr wchar_t kShortestReply[] = L"***";

// Made on the first call of any function, destroyed when the library is unloaded.
struct Module {
  SvcKivClass::SvcKivApp app;
  QCString noMemoryReply{kNoMemoryReply};  // made ahead; empty once it was given away
};

Module& TheModule() {
  static Module module;
  return module;
}

SvcKivClass::SvcKivApp& App() { return TheModule().app; }

// No exception leaves the module. False when there was not enough memory, or no thread.
template <typename Step>
bool Try(const Step& step) {
  try {
    step();
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  } catch (const std::system_error&) {
    return false;
  }
}

void TellNoMemory(QCString& reply) {
  QCString& made = TheModule().noMemoryReply;
  reply.Empty();
  std::swap(reply, made);
  if (reply.IsEmpty()) reply += kShortestReply;
}

}  // namespace

SvcKiv::SvcKiv() = default;

SvcKivMessage* SvcKiv::GetMsgSender() { return App().GetMsgSender(); }

MorviCmdList* SvcKiv::GetMorviCmdList() { return App().GetMorviCmdList(); }

CSVCKIVConfig* SvcKiv::Start() {
  CSVCKIVConfig* config = nullptr;
  if (!Try([&] { config = App().Start(); })) App().Stop();
  return config;
}

void SvcKiv::Stop() { App().Stop(); }

void SvcKiv::ReloadDb() {
  Try([] { App().ReloadDb(); });
}

void SvcKiv::SetUEConnectStatus(int status) { App().SetUEConnectStatus(status); }

void SvcKiv::GetDiagCmdResponse(const wchar_t* line, QCString& reply) {
  const bool ran = Try([&] {
    QCString& made = TheModule().noMemoryReply;
    if (made.IsEmpty()) made = kNoMemoryReply;
    App().GetDiagCmdResponse(line, reply);
  });
  if (!ran) TellNoMemory(reply);
}

unsigned long SvcKiv::TestServerBufferResponse(const void* buffer, unsigned long lengthBytes) {
  unsigned long status = result::kNoMemory;
  Try([&] { status = App().TestServerResponse(buffer, lengthBytes); });
  return status;
}

void SvcKiv::SetHexadecimalFlag(bool hexadecimal) { App().SetHexadecimalFlag(hexadecimal); }

void SvcKiv::SetIsEnableInstantInd(bool enable) const { App().SetIsEnableInstantInd(enable); }

void SvcKiv::SetInstantIndTime(int periodMs) { App().SetInstantIndTime(periodMs); }

}  // namespace SvcKivSpace

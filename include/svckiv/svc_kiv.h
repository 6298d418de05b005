// SvcKiv: the facade of the module, static functions over the one application object.
//
// The application object is made on the first call of any function and destroyed when the library
// is unloaded. A host fills the bench setup (platform/base/bench_setup.h), calls Start(), tells the
// device's state with SetUEConnectStatus, and runs typed lines with GetDiagCmdResponse.
//
// Threads: one, the module's user-interface thread: the first that calls Start. It needs a Qt event
// loop, for the instant-indication period is a timer. The first call of any function may come from
// any thread. Owns: no function takes or gives ownership. Errors: a failure is told in the reply
// text. Nothing throws but the very first call, std::bad_alloc. Without enough memory Start leaves
// everything stopped (GetMorviCmdList is null), ReloadDb leaves the list as it was, and a line's
// reply begins with "***".
#pragma once

#include "platform/text/qc_string.h"
#include "svckiv/morvi_cmd_list.h"
#include "svckiv/svc_kiv_config.h"
#include "svckiv/svc_kiv_message.h"
#include "svckiv/svckiv_export.h"

namespace SvcKivSpace {

// Everything is static but SetIsEnableInstantInd.
class SVCKIV_API SvcKiv {
 public:
  SvcKiv();

  // Never null.
  static SvcKivMessage* GetMsgSender();
  // Null before Start and after Stop.
  static MorviCmdList* GetMorviCmdList();
  // Answers the settings object. May be called again: only what is missing is made.
  static CSVCKIVConfig* Start();
  // When it returns no message is sent any more. Not to be called from inside a message slot.
  static void Stop();
  // Reads the command list from the catalogue again; pointers to the old list stay valid until
  // Stop.
  static void ReloadDb();
  // Non-zero: a device is connected.
  static void SetUEConnectStatus(int status);
  // Runs one typed line (null is the empty line). `reply` gets the reply text; when a text channel
  // took the line it keeps what it held, because the answer comes as a message.
  static void GetDiagCmdResponse(const wchar_t* line, QCString& reply);
  // Sends a raw buffer of `lengthBytes` bytes and answers the device adapter's result.
  static unsigned long TestServerBufferResponse(const void* buffer, unsigned long lengthBytes);
  static void SetHexadecimalFlag(bool hexadecimal);
  // An ordinary member: hosts call it through an instance; it changes the one application object.
  void SetIsEnableInstantInd(bool enable) const;
  // How long indications are shown after each accepted command, in milliseconds. Belongs to the
  // current command controller: set it again after ReloadDb.
  static void SetInstantIndTime(int periodMs);
};

}  // namespace SvcKivSpace

// What the command side knows of the device, and the service table that it hands to the text
// channels.
//
// The table's entries take no context argument, so this folder keeps one pointer to the context;
// the application object sets it before the first controller is made and clears it after the last
// is gone.
//
// Threads: the entries may be called on the facade's and on the link's thread.
// Owns nothing.
#pragma once

#include <atomic>

#include "channels/channel_service_table.h"
#include "service/message/live_switches.h"

class CmdCtrl;

namespace SvcKivClass {

class LirnKivClient;
class SvcKivConfigImpl;

// What the entries of the service table reach: they take no context argument of their own.
struct ServiceContext {
  std::atomic<LirnKivClient*> link{nullptr};  // null while there is no link client
  LiveSwitches* switches = nullptr;
  // The controller that the facade reaches; facade's thread only. Retired ones compare themselves
  // to it.
  const CmdCtrl* currentController = nullptr;
  SvcKivConfigImpl* settings = nullptr;  // null while there are none; facade's thread only
};

// Null clears it: no device is connected then, and there is no link client.
void SetServiceContext(const ServiceContext* context);

ChannelServiceTable MakeServiceTable(void* controller, void* application);

}  // namespace SvcKivClass

// The way to the view for what has no message object at hand: the text channels, whose entries take
// no context argument.
//
// The application object sets its message object when it is made and takes it away at its end; from
// then on texts go nowhere.
//
// Threads: the senders on any; SetViewSender while no channel is called.
// Owns nothing; an owned payload is taken over.
#pragma once

#include "svckiv/svc_kiv_message.h"

namespace SvcKivClass {

// Null takes it away.
void SetViewSender(SvcKivSpace::SvcKivMessage* sender);

// Sends a payload from the pool, or null, that its receiver is to release. When nobody receives it,
// it is released here; false then.
bool SendOwned(SvcKivSpace::SvcKivMsgType kind, void* payload);

// Sends a payload that stays the caller's; whoever receives it copies it meanwhile.
void SendBorrowed(SvcKivSpace::SvcKivMsgType kind, void* payload);

}  // namespace SvcKivClass

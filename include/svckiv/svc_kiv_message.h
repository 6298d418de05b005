// SvcKivMessage: all text that the module produces without being asked reaches the view through
// this one object and its one signal.
//
// Threads: the signal is emitted in the sender's thread: the link's receive thread or the caller of
// the facade. A view may connect directly or queued; it connects before Start and disconnects after
// Stop. Owns nothing.
//
// Payloads, by kind. A null payload means the empty text, in every kind.
//
//   kind           payload                                 who releases it
//   kNotice    0   QCString*                               nobody: it lives during the emission
//   kReply     1   wchar_t*, begins with a line feed       the sender, right after the emission: a
//                                                          direct view copies it at once
//   kAt        2   char*, 8-bit text                       the receiver, with PoolFree
//   kTestCase  3   wchar_t*, ends with a line feed         the receiver, with PoolFree
//   kText      4   char*, 8-bit text                       the receiver, with PoolFree
//   kShell     5   char*, 8-bit text                       the receiver, with PoolFree
//
// Of kinds 2 to 5 exactly one connected receiver owns the payload; a second one copies it before
// the owner has released it. Where nobody is connected the sender releases it. PoolFree is in
// platform/bounded/pool.h.
#pragma once

#include <QObject>

#include "svckiv/svckiv_export.h"

namespace SvcKivSpace {

enum SvcKivMsgType : int {
  kNotice = 0,    // settings notices
  kReply = 1,     // rendered confirmations and indications
  kAt = 2,        // AT channel
  kTestCase = 3,  // test-case commands
  kText = 4,      // HCI channel; shell channel on every product but 38
  kShell = 5,     // shell channel on product 38
};

// The one object whose signal carries text to the view.
class SVCKIV_API SvcKivMessage : public QObject {
  Q_OBJECT

 public:
  // Registers the kinds as the meta-type "SVC_KIV_MGS_TYPE" (hosts look it up under this spelling)
  // with the aliases that queued connections need.
  explicit SvcKivMessage(QObject* parent = nullptr);
  ~SvcKivMessage() override;

  // Emits SvcHandleMessage with the same two arguments, in the caller's thread, and nothing more.
  void SVCSendMessage(SvcKivMsgType kind, void* payload);
  // For a payload that its receiver is to release: emits when somebody is connected. Otherwise
  // answers false, and the payload is still the caller's.
  bool SVCSendToReceiver(SvcKivMsgType kind, void* payload);

 Q_SIGNALS:
  void SvcHandleMessage(SvcKivMsgType kind, void* payload);
};

}  // namespace SvcKivSpace

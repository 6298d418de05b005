#include "svckiv/svc_kiv_message.h"

#include <QMetaMethod>
#include <QMetaType>

namespace SvcKivSpace {

SvcKivMessage::SvcKivMessage(QObject* parent) : QObject(parent) {
  // The first name stays the type's name. Queued connections look the argument up under the name
  // that the signal declares; without the aliases they would drop every message.
  const int id = qRegisterMetaType<SvcKivMsgType>("SVC_KIV_MGS_TYPE");
  QMetaType::registerTypedef("SvcKivMsgType", id);
  QMetaType::registerTypedef("SvcKivSpace::SvcKivMsgType", id);
}

SvcKivMessage::~SvcKivMessage() = default;

void SvcKivMessage::SVCSendMessage(SvcKivMsgType kind, void* payload) {
  Q_EMIT SvcHandleMessage(kind, payload);
}

bool SvcKivMessage::SVCSendToReceiver(SvcKivMsgType kind, void* payload) {
  static const QMetaMethod signal = QMetaMethod::fromSignal(&SvcKivMessage::SvcHandleMessage);
  if (!isSignalConnected(signal)) return false;
  SVCSendMessage(kind, payload);
  return true;
}

}  // namespace SvcKivSpace

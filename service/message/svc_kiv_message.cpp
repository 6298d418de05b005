#include "svckiv/svc_kiv_message.h"

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

}  // namespace SvcKivSpace

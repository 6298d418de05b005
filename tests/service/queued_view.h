// A view with a slot that has a name: old-style connections look it up as a text.
//
// Threads: the thread it lives in. Owns nothing.
#pragma once

#include <QObject>
#include <utility>
#include <vector>

#include "svckiv/svc_kiv_message.h"

namespace kivtest {

using SvcKivSpace::SvcKivMsgType;

class QueuedView : public QObject {
  Q_OBJECT

 public:
  std::vector<std::pair<int, void*>> got;

 public Q_SLOTS:
  void Take(SvcKivMsgType kind, void* payload) { got.emplace_back(kind, payload); }
};

}  // namespace kivtest

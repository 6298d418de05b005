// Waits for a condition while the event loop runs.
#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>

namespace kivtest {

// False when the condition did not come true within `timeoutMs`.
template <typename Condition>
bool WaitUntil(const Condition& condition, int timeoutMs = 10000) {
  QElapsedTimer timer;
  timer.start();
  while (!condition()) {
    if (timer.elapsed() > timeoutMs) return false;
    QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
  }
  return true;
}

}  // namespace kivtest

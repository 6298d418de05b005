// The one place where QCString meets QString. Header only: the platform itself does not link Qt.
#pragma once

#include <QString>

#include "platform/text/qc_string.h"

inline QString ToQString(const QCString& text) {
  return QString::fromWCharArray(text.c_str(), static_cast<int>(text.GetLength()));
}

inline QCString FromQString(const QString& text) { return QCString(text.toStdWString()); }

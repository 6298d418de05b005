// The one place where QCString meets QString. Header only: the platform itself does not link Qt.
#pragma once

#include <QObject>
#include <QString>

#include "platform/text/qc_string.h"

inline QString ToQString(const QCString& text) {
  return QString::fromWCharArray(text.c_str(), static_cast<int>(text.GetLength()));
}

inline QCString FromQString(const QString& text) { return QCString(text.toStdWString()); }

// A text that users see, in their language. Texts stand as QT_TRANSLATE_NOOP("QObject", "...") in
// one header of each folder and are translated where they are used.
inline QCString Translated(const char* sourceText) { return FromQString(QObject::tr(sourceText)); }

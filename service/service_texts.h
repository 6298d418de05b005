// Texts of the application object that users see.
#pragma once

#include <QObject>

namespace SvcKivClass {

// The link client's name; the UE id in decimal.
constexpr char kClientNamePattern[] = QT_TRANSLATE_NOOP("QObject", "Kiv %1");

}  // namespace SvcKivClass

#include "platform/xml/starting_settings.h"

#include <string>

#include "platform/base/bench_setup.h"
#include "platform/os/paths.h"
#include "platform/xml/built_in_settings.h"
#include "platform/xml/stored_document.h"

QCString StartingSettings() {
  const std::string shipped = os::MapPath(bench::GetSetup().shareDir.view()) + "/kiv.xml";
  const StoredDocument stored = StoredDocument::Read(shipped, "SourceData");
  if (stored.kind != StoredDocument::Kind::kSound) return BuiltInSettings();
  return QCString::FromUtf8(stored.bytes);
}

QCString BuiltInSettings() { return QCString::FromUtf8(built_in_settings::kText); }

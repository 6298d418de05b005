// CSVCKIVConfig: the exported configuration interface. Declared here; SvcKiv::Start() answers null
// until a settings document stands behind it.
#pragma once

namespace SvcKivSpace {
class CSVCKIVConfig;
}  // namespace SvcKivSpace

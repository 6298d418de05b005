#include "platform/catalogue/fingerprint.h"

#include "platform/catalogue/catalogue_registry.h"

std::uint64_t CurrentCatalogueFingerprint() {
  std::shared_ptr<const Catalogue> catalogue;
  return catalogue_registry::OpenCurrent(catalogue) == 0 ? catalogue->Fingerprint() : 0;
}

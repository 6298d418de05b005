#include "platform/catalogue/request_model.h"

#include <memory>

#include "platform/catalogue/catalogue.h"
#include "platform/catalogue/catalogue_registry.h"

namespace catalogue {

std::uint32_t ReadRequest(const wchar_t* cataloguePath, std::uint32_t cmdId, Model& model,
                          std::int32_t& structure) {
  std::shared_ptr<const Catalogue> catalogue;
  const std::uint32_t status = catalogue_registry::OpenFor(cataloguePath, catalogue);
  return status != 0 ? status : catalogue->Describe(cmdId, BodyKind::kRequest, model, structure);
}

}  // namespace catalogue

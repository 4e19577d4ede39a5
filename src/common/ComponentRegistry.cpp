#include "common/ComponentRegistry.h"

#include <utility>

#include "common/Dictionary.h"

namespace ods {

ComponentRegistry::ComponentRegistry() {
  Register("Halvik.Dictionary", [] { return std::make_shared<Dictionary>(); });
  Register("Tarnwell.Dictionary", [] { return std::make_shared<TarnwellDictionary>(); });
}

void ComponentRegistry::Register(const std::string& progId, Factory factory) {
  factories_.insert_or_assign(progId, std::move(factory));
}

std::shared_ptr<Object> ComponentRegistry::Create(const std::string& progId) const {
  const auto found = factories_.find(progId);
  if (found == factories_.end()) throw Error(error_number::kCannotCreate, "The component is not registered: " + progId);
  return found->second();
}

std::shared_ptr<Object> CreateObjectChecked(const ComponentRegistry& components, const std::string& progId) {
  try {
    return components.Create(progId);
  } catch (const Error& error) {
    std::string description = "Error creating object: " + progId;
    if (error.Number() != error_number::kCannotCreate) {
      description += ". Error " + std::to_string(error.Number()) + " (0x" + ErrorNumberHex(error.Number()) +
                     "): " + error.Description();
    }
    throw Error(error.Number(), description);
  }
}

}  // namespace ods

#include "platform/system/Module.h"

#include <dlfcn.h>

#include "common/Error.h"

namespace ods {

namespace {

[[noreturn]] void RaiseLoaderError(const std::string& path) {
  const char* text = dlerror();
  throw Error(error_number::kOwn, (text != nullptr ? text : "Error loading " + path) + std::string("."));
}

}  // namespace

ModuleFunction FunctionOfModule(const std::string& path, const std::string& name) {
  // Never unloaded: libraries that a module brings register themselves for the end of the process.
  void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
  if (module == nullptr) RaiseLoaderError(path);
  void* const function = dlsym(module, name.c_str());
  if (function == nullptr) RaiseLoaderError(path);
  return reinterpret_cast<ModuleFunction>(function);
}

}  // namespace ods

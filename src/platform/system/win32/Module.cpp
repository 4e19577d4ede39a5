#include "platform/system/Module.h"

#include "platform/system/win32/Win32.h"

namespace ods {

ModuleFunction FunctionOfModule(const std::string& path, const std::string& name) {
  // What the module needs is looked for beside it, never in the current folder.
  const HMODULE module = LoadLibraryExW(WidePath(path).c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  if (module == nullptr) RaiseSystemError("Error loading " + path, LastSystemError());
  const FARPROC function = GetProcAddress(module, name.c_str());
  if (function == nullptr) RaiseSystemError("Error loading " + path + ": " + name, LastSystemError());
  return reinterpret_cast<ModuleFunction>(reinterpret_cast<void*>(function));
}

}  // namespace ods

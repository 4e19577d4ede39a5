// Modules that are loaded while the program runs.
#pragma once

#include <string>

namespace ods {

/// The address of a function, to be cast to its type.
using ModuleFunction = void (*)();

/// The function that the module, a shared library, of this path exports under `name`. The module is loaded when it is
/// not yet, and stays loaded until the process ends. Raises error 1000 with the loader's text, which names the file.
[[nodiscard]] ModuleFunction FunctionOfModule(const std::string& path, const std::string& name);

}  // namespace ods

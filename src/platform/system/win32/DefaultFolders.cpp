#include "platform/system/DefaultFolders.h"

#include "common/Files.h"

namespace ods {

DefaultFolders FindDefaultFolders(const std::string& exeFolder) {
  return {JoinPath(exeFolder, "Data"), "", JoinPath(exeFolder, "Temp")};
}

}  // namespace ods

// The entry of the module.
#include <memory>

#include "ui/WindowsModule.h"
#include "ui/windows/DesktopUserInterface.h"

extern "C" __attribute__((visibility("default"))) void OdsMakeWindows(ods::ServerView& server,
                                                                      const ods::ComponentRegistry& components,
                                                                      std::unique_ptr<ods::UserInterface>& windows) {
  windows = std::make_unique<ods::DesktopUserInterface>(server, components);
}

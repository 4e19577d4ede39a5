// The program: puts the pieces together, and tells on standard error what stopped it.
#include <exception>
#include <iostream>

#include "common/ComponentRegistry.h"
#include "log/Trace.h"
#include "platform/system/System.h"
#include "server/modCommandLine.h"
#include "server/modMain.h"
#include "ui/HeadlessUserInterface.h"

namespace {

void RunServer(int argc, const char* const* argv) {
  ods::StopSignals stopSignals;
  ods::HeadlessUserInterface ui;
  ods::Tracer tracer(ui);
  ui.SetTracer(tracer);
  ods::ComponentRegistry components;
  ods::RegisterComponents(components);
  ods::Server server({ui, tracer, components, ods::ExecutablePath(), [&] { return stopSignals.Requested(); }});
  server.Run(ods::RebuildCommandLine(argc, argv));
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const ods::Information asked = ods::AskedInformation(argc, argv);
    if (asked != ods::Information::kNone) {
      std::cout << ods::InformationText(asked);
      return 0;
    }
    RunServer(argc, argv);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "odbc-data-server: " << error.what() << "\n";
    return 1;
  }
}

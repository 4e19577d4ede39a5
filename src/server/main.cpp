// The program: puts the pieces together, and tells on standard error what stopped it.
#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>
#include <vector>

#include "common/ComponentRegistry.h"
#include "log/Trace.h"
#include "platform/ado/Ado.h"
#include "platform/queue/QueueChoice.h"
#include "platform/system/DefaultFolders.h"
#include "platform/system/System.h"
#include "server/modCommandLine.h"
#include "server/modMain.h"
#include "ui/SwitchingUserInterface.h"
#include "ui/WindowsModule.h"

namespace {

void Tell(const std::exception& error) { std::cerr << "odbc-data-server: " << error.what() << std::endl; }

int RunServer(const std::vector<std::string>& arguments) {
  ods::TakeFailuresInsteadOfSignals();
  ods::PrepareForDrivers();
  ods::StopSignals stopSignals;
  ods::SwitchingUserInterface ui;
  ods::Tracer tracer(ui);
  ui.SetTracer(tracer);
  ods::ComponentRegistry components;
  ods::RegisterComponents(components);
  const std::string executable = ods::ExecutablePath();
  ods::Server server({ui, tracer, components, executable, [&] { return stopSignals.Requested(); },
                      [&](ods::ServerView& view) {
                        ui.SwitchTo(ods::LoadWindows(ods::FolderOf(executable), view, components), view);
                      }});
  try {
    server.Run(ods::CommandLineToParse(ods::RawCommandLine(), arguments));
    return EXIT_SUCCESS;
  } catch (const std::exception& error) {
    Tell(error);
    server.ShowFailure(error.what());
    return EXIT_FAILURE;
  }
}

int Run(int argc, char** argv) {
  try {
    const std::vector<std::string> arguments = ods::ProgramArguments(argc, argv);
    const ods::Information asked = ods::AskedInformation(arguments);
    if (asked != ods::Information::kNone) {
      std::cout << ods::InformationText(asked);
      return EXIT_SUCCESS;
    }
    return RunServer(arguments);
  } catch (const std::exception& error) {
    Tell(error);
    return EXIT_FAILURE;
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int status = Run(argc, argv);
  if (ods::DriverCallsAreStuck() || ods::BrokerThreadsAreLeft()) ods::EndProcessNow(status);
  return status;
}

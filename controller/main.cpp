// The program: its command line, and what stopped it on standard error.
#include <CLI/CLI.hpp>
#include <exception>
#include <iomanip>
#include <iostream>
#include <string>

#include "Check.h"
#include "Configuration.h"
#include "Service.h"
#include "Status.h"
#include "common/Attempt.h"

namespace {

namespace exit_status {
constexpr int kWell = 0;
constexpr int kNotWell = 1;  ///< a server does not run, a connection cannot be made
constexpr int kUsage = 2;    ///< wrong usage, a bad configuration, another controller
}  // namespace exit_status

constexpr const char* kDefaultConfiguration = "/etc/odbc-data-controller/controller.toml";

int ShowStatus(const std::string& configuration, bool json) {
  const auto status = ods::controller::ReadStatus(ods::controller::LoadSettings(configuration));
  std::cout << (json ? ods::controller::StatusJson(status) : ods::controller::StatusTable(status));
  return ods::controller::IsWell(status) ? exit_status::kWell : exit_status::kNotWell;
}

int Check(const std::string& configuration) {
  const ods::controller::Settings settings = ods::controller::LoadSettings(configuration);
  std::cout << configuration << ": no mistake found" << std::endl;
  int status = exit_status::kWell;
  for (const ods::controller::Source& source : settings.sources) {
    ods::controller::CheckResult result;
    const auto failure = ods::Attempt([&] { result = CheckConnection(settings, source); });
    if (failure) result.failure = failure->Description();
    if (!result.connected) status = exit_status::kNotWell;
    std::cout << source.name << ": ";
    if (result.connected) {
      std::cout << "connected in " << std::fixed << std::setprecision(1) << result.seconds << " s" << std::endl;
    } else {
      std::cout << "not connected. " << result.failure << std::endl;
    }
  }
  return status;
}

int RunCommandLine(int argumentCount, char** arguments) {
  std::string configuration = kDefaultConfiguration;
  bool json = false;
  CLI::App app("Starts ODBC data servers from one configuration file and keeps them running.", "odbc-data-controller");
  app.footer(
      "Without a command it runs until SIGTERM; SIGHUP reads the configuration again.\n"
      "Exit status: 0 all is well, 1 a server does not run or a connection cannot be made, 2 wrong usage, a mistake "
      "in\n"
      "the configuration, or a controller of the same folders that runs already.\n"
      "Examples:\n"
      "  odbc-data-controller --config controller.toml check\n"
      "  odbc-data-controller --config controller.toml\n"
      "  odbc-data-controller status --json");
  app.set_version_flag("--version", "odbc-data-controller " ODS_VERSION);
  app.add_option("-c,--config", configuration, "The configuration file")->capture_default_str();
  app.require_subcommand(0, 1);
  app.fallthrough();
  app.add_subcommand("run", "Runs the servers (the default)");
  CLI::App& status = *app.add_subcommand("status", "Shows the servers");
  status.add_flag("--json", json, "As JSON");
  const CLI::App& check = *app.add_subcommand("check", "Reads the configuration and tries every connection");
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::ParseError& result) {
    return app.exit(result) == 0 ? exit_status::kWell : exit_status::kUsage;
  }
  if (status.parsed()) return ShowStatus(configuration, json);
  if (check.parsed()) return Check(configuration);
  ods::controller::RunService(configuration);
  return exit_status::kWell;
}

}  // namespace

int main(int argumentCount, char** arguments) {
  try {
    return RunCommandLine(argumentCount, arguments);
  } catch (const std::exception& error) {
    std::cerr << "odbc-data-controller: " << error.what() << '\n';
    return exit_status::kUsage;
  }
}

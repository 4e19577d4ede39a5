#include <CLI/CLI.hpp>
#include <cmath>
#include <exception>
#include <iostream>
#include <string>

#include "Client.h"

namespace {

constexpr double kLongestTimeout = 1e9;  // seconds; far from what a clock cannot count any more

std::string CheckSeconds(const std::string& text) {
  double seconds = 0;
  const bool good = CLI::detail::lexical_cast(text, seconds) && seconds >= 0 && seconds <= kLongestTimeout;
  return good ? "" : "\"" + text + "\" is no number of seconds.";
}

void AddExchangeOptions(CLI::App& app, ods::Exchange& exchange, double& timeout) {
  app.add_option("--requests", exchange.requests, "The folder of the server's incoming queue")->required();
  app.add_option("--results", exchange.results, "The folder of the server's outgoing queue")->required();
  app.add_option("--timeout", timeout, "How many seconds to wait for the answer")
      ->check(CLI::Validator(CheckSeconds, "SECONDS"))
      ->capture_default_str();
}

int RunCommandLine(int argumentCount, char** arguments) {
  ods::Exchange exchange;
  double timeout = 30;
  std::string file;
  CLI::App app("Sends a request to the ODBC Data Server and prints its answer.", "odbc-data-client");
  app.footer(
      "odbc-data-client --help tells all options; they may stand before or after the command.\n"
      "Exit status: 0 answered, 1 the answer is an error document, 2 wrong usage or a file or folder that cannot\n"
      "be used, 3 no answer in time.");
  app.set_version_flag("--version", "odbc-data-client " ODS_VERSION);
  app.require_subcommand(1);
  app.fallthrough();  // the options may stand before or after the command
  CLI::App& ping = *app.add_subcommand("ping", "Asks whether the server answers");
  CLI::App& send = *app.add_subcommand("send", "Sends a request document");
  send.add_option("FILE", file, "The document; standard input when not given");
  for (CLI::App* command : {&ping, &send}) command->set_help_flag();  // there is one help for all
  AddExchangeOptions(app, exchange, timeout);
  try {
    app.parse(argumentCount, arguments);
  } catch (const CLI::ParseError& result) {
    return app.exit(result) == 0 ? ods::exit_status::kAnswered : ods::exit_status::kUsage;
  }
  exchange.timeout = std::chrono::milliseconds(std::llround(timeout * 1000));
  const std::string request = ping.parsed() ? "<XML><Type>Ping</Type></XML>" : ods::ReadRequest(file, std::cin);
  return ods::Run(exchange, request, std::cout, std::cerr);
}

}  // namespace

int main(int argumentCount, char** arguments) {
  try {
    return RunCommandLine(argumentCount, arguments);
  } catch (const std::exception& error) {
    std::cerr << "odbc-data-client: " << error.what() << '\n';
    return ods::exit_status::kUsage;
  }
}

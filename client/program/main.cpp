#include <exception>
#include <iostream>

#include "CommandLine.h"
#include "Commands.h"
#include "ExitStatus.h"
#include "Width.h"
#include "platform/system/System.h"

int main(int argc, char** argv) {
  try {
    odbc_data::UseUnicode();
    std::ios::sync_with_stdio(false);
    odbc_data::Options options;
    if (const auto status = odbc_data::ReadCommandLine(ods::ProgramArguments(argc, argv), options)) return *status;
    return odbc_data::RunCommand(options, {std::cin, std::cout, std::cerr});
  } catch (const std::exception& error) {
    std::cerr << "odbc-data-client: " << error.what() << '\n';
    return odbc_data::exit_status::kUsage;
  }
}

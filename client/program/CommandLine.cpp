#include "CommandLine.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Clauses.h"
#include "ExitStatus.h"
#include "common/Text.h"

namespace odbc_data {

namespace {

constexpr double kLongestTimeout = 1e9;        // seconds; far from what a clock cannot count any more
constexpr std::size_t kLargestPage = 1000000;  // rows
constexpr std::size_t kWidest = 100000;

constexpr std::size_t kNamesWidth = 30;  // columns of a help: the names of options, and all
constexpr std::size_t kHelpWidth = 80;

/// `text` in lines of at most `width` columns, broken between words.
std::vector<std::string> Wrapped(const std::string& text, std::size_t width) {
  std::vector<std::string> lines(1);
  for (const std::string& word : ods::Split(text, " ")) {
    std::string& line = lines.back();
    if (!line.empty() && line.size() + 1 + word.size() > width) {
      lines.push_back(word);
    } else {
      line += (line.empty() ? "" : " ") + word;
    }
  }
  return lines;
}

/// A help that fits a terminal of 80 columns.
class HelpFormatter final : public CLI::Formatter {
 public:
  std::string make_option(const CLI::Option* option, bool isPositional) const override {
    const std::string name = "  " + make_option_name(option, isPositional) + make_option_opts(option);
    return Entry(name, make_option_desc(option));
  }
  std::string make_option_opts(const CLI::Option* option) const override {
    return option->get_type_size() == 0 || option->get_type_name().empty() ? "" : " " + option->get_type_name();
  }
  std::string make_option_desc(const CLI::Option* option) const override {
    const std::string& value = option->get_default_str();
    return option->get_description() + (value.empty() ? "" : "; " + value + " unless told");
  }
  std::string make_subcommand(const CLI::App* command) const override {
    return Entry("  " + command->get_name(), command->get_description());
  }
  std::string make_usage(const CLI::App* app, std::string name) const override {
    return "Usage: " +
           ods::ReplaceAll(CLI::Formatter::make_usage(app, std::move(name)).substr(7), "SUBCOMMAND", "COMMAND ...");
  }
  std::string make_help(const CLI::App* app, std::string name, CLI::AppFormatMode mode) const override {
    return ods::ReplaceAll(CLI::Formatter::make_help(app, std::move(name), mode), "\n\n\n", "\n\n");
  }

 private:
  static std::string Entry(const std::string& name, const std::string& description) {
    std::string text = name;
    std::size_t column = name.size();
    for (const std::string& line : Wrapped(description, kHelpWidth - kNamesWidth)) {
      if (column + 1 >= kNamesWidth) {
        text += '\n';
        column = 0;
      }
      text += std::string(kNamesWidth - column, ' ') + line;
      column = kHelpWidth;
    }
    return text + "\n";
  }
};

std::string CheckSeconds(const std::string& text) {
  double seconds = 0;
  const bool good = CLI::detail::lexical_cast(text, seconds) && seconds >= 0 && seconds <= kLongestTimeout;
  return good ? "" : "\"" + text + "\" is no number of seconds.";
}

// Validators without a name, which a help would show.

CLI::Validator Within(std::size_t least, std::size_t most) {
  return {[least, most](const std::string& text) {
            std::size_t number = 0;
            const bool good = CLI::detail::lexical_cast(text, number) && number >= least && number <= most;
            return good ? ""
                        : "\"" + text + "\" is no number from " + std::to_string(least) + " to " +
                              std::to_string(most) + ".";
          },
          ""};
}

CLI::Validator OneOf(std::vector<std::string> known) {
  return {[known = std::move(known)](const std::string& text) {
            const bool good = std::ranges::find(known, text) != known.end();
            return good ? "" : "\"" + text + "\" is none of " + ods::Join(known, "|") + ".";
          },
          ""};
}

void AddExchangeOptions(CLI::App& app, Options& options) {
  const std::string group = "Where the server is";
  auto* requests =
      app.add_option("--requests", options.requests, "Folder of its incoming queue, or the URI of a broker's")
          ->type_name("DIR|URI")
          ->group(group);
  auto* results = app.add_option("--results", options.results, "Folder of its outgoing queue; none with a broker")
                      ->type_name("DIR")
                      ->group(group);
  app.add_option("--instance", options.instance, "Name of a server with default folders, instead of the two")
      ->type_name("NAME")
      ->group(group)
      ->excludes(requests)
      ->excludes(results);
  app.add_option("--timeout", options.timeout, "How long to wait for an answer")
      ->check(CLI::Validator(CheckSeconds, ""))
      ->type_name("SECONDS")
      ->capture_default_str()
      ->group(group);
  app.set_help_flag("-h,--help", "This help, or that of a command");
}

/// Options by which a command says how its answer is printed.
void AddOutputOptions(CLI::App& command, Options& options, bool table) {
  const std::string group = "Output";
  std::map<std::string, Format> formats;
  std::vector<std::string> known;
  for (const auto& [name, format] : FormatNames()) {
    if (format == Format::kTable && !table) continue;
    formats.emplace(name, format);
    known.push_back(name);
  }
  command
      .add_option_function<std::string>(
          "-o,--output", [formats, &options](const std::string& name) { options.format = formats.at(name); },
          table ? "How the answer is printed; a table unless told" : "How rows are written; csv unless told")
      ->check(OneOf(known))
      ->type_name(ods::Join(known, "|"))
      ->group(group);
  command.add_flag("--lf", options.lineFeeds, "End lines of CSV by a line feed alone")->group(group);
  if (!table) return;
  command
      .add_option("--width", options.width,
                  "Columns that a table may take, 0 for all it needs; those of the terminal unless told")
      ->check(Within(0, kWidest))
      ->type_name("N")
      ->group(group);
}

void AddTable(CLI::App& command, Options& options) {
  command.add_option("TABLE", options.table, "Identifier, caption or name of a table")->required()->type_name("");
}

/// Options by which a command says what it wants of a table.
void AddQuestionOptions(CLI::App& command, Options& options) {
  const std::string group = "What of the table";
  const auto one = [&group](CLI::Option* option, const char* type) {
    option->type_name(type)->group(group)->allow_extra_args(false);
  };
  one(command.add_option("--fields", options.fields, "The fields, separated by commas; all unless told"), "LIST");
  one(command.add_option("--sort", options.sort, "Fields to order by, as in \"name desc, city\""), "LIST");
  one(command
          .add_option("--filter", options.filters, "A condition, as in \"name like A%\"; more of them must all hold")
          ->take_all(),
      "CONDITION");
  one(command.add_option("--search", options.search, "Only rows that have this text somewhere"), "TEXT");
  one(command.add_option("--in", options.searchIn, "The fields to search; all texts unless told"), "LIST");
  command
      .add_flag("--constructed-key", options.useConstructedKey,
                "On a server without exact paging, for a table without a key: take the key that the server makes up of "
                "columns, which must be unique")
      ->group(group);
}

CLI::Option* AddPageSize(CLI::App& command, Options& options, const char* description) {
  return command.add_option("--page-size", options.pageSize, description)
      ->check(Within(1, kLargestPage))
      ->type_name("ROWS");
}

std::string ConditionHelp() {
  std::string text = "A condition is a field, an operator and a value. Operators, and other words for\nthem:\n";
  std::string lines = OperatorHelp();
  for (std::size_t begin = 0; begin < lines.size();) {
    const std::size_t end = lines.find('\n', begin);
    text += "  " + lines.substr(begin, end - begin) + "\n";
    begin = end + 1;
  }
  return text +
         "Values are separated by \"|\" (no in 1|2|3), those of between by \"and\". A field or\n"
         "a value may stand in quotes, which are doubled inside:\n"
         "  \"Customer No.\" eq 'it''s | all one'\n";
}

using Setup = std::function<void(CLI::App&, Options&)>;

struct CommandRow {
  Command command;
  const char* name;
  const char* description;
  Setup setup;
  const char* examples;
};

const std::vector<CommandRow>& Commands() {
  static const std::vector<CommandRow> kCommands = {
      {Command::kPing, "ping", "Asks whether the server answers, and prints its answer", {}, "odbc-data-client ping"},
      {Command::kInitialize, "initialize", "What the server can do; it starts a new data session",
       [](CLI::App& command, Options& options) { AddOutputOptions(command, options, true); },
       "odbc-data-client initialize"},
      {Command::kTables, "tables", "The tables and views",
       [](CLI::App& command, Options& options) { AddOutputOptions(command, options, true); },
       "odbc-data-client tables\n  odbc-data-client tables --output json"},
      {Command::kFields, "fields", "The fields of a table",
       [](CLI::App& command, Options& options) {
         AddTable(command, options);
         AddOutputOptions(command, options, true);
       },
       "odbc-data-client fields customer"},
      {Command::kKeys, "keys", "The keys of a table",
       [](CLI::App& command, Options& options) {
         AddTable(command, options);
         AddOutputOptions(command, options, true);
       },
       "odbc-data-client keys customer"},
      {Command::kPrimaryKey, "primary-key", "The key that pages of a table are ordered by",
       [](CLI::App& command, Options& options) {
         AddTable(command, options);
         AddOutputOptions(command, options, true);
       },
       "odbc-data-client primary-key customer"},
      {Command::kAuthorize, "authorize", "Who a user is and what he may do",
       [](CLI::App& command, Options& options) {
         command.add_option("USER", options.user, "Id of the user")->required()->type_name("");
         auto* file = command.add_option("--password-file", options.passwordFile, "File that holds the password")
                          ->type_name("FILE");
         auto* ask = command.add_flag("--ask-password", options.askPassword, "Ask for the password on the terminal");
         command.add_flag("--authenticated", options.authenticated, "You have made sure of the user")
             ->excludes(file)
             ->excludes(ask);
         ask->excludes(file);
         AddOutputOptions(command, options, true);
       },
       "odbc-data-client authorize ann\n  odbc-data-client authorize ann --password-file ~/.ann"},
      {Command::kUsers, "users", "The users and roles of a Navision database",
       [](CLI::App& command, Options& options) { AddOutputOptions(command, options, true); }, "odbc-data-client users"},
      {Command::kData, "data", "Rows of a table: a page, or a pager on the terminal",
       [](CLI::App& command, Options& options) {
         AddTable(command, options);
         AddQuestionOptions(command, options);
         const std::string group = "Which rows";
         AddPageSize(command, options, "Rows of the page; 50 unless told")->group(group);
         command
             .add_option_function<std::string>(
                 "--page", [&options](const std::string& page) { options.lastPage = page == "last"; },
                 "The first page or the last; first unless told")
             ->check(OneOf({"first", "last"}))
             ->type_name("first|last")
             ->group(group);
         command.add_flag("--count", options.count, "Only the number of rows that filter and search leave")
             ->group(group);
         command.add_flag("-i,--interactive", options.interactive, "Page through the rows on the terminal")
             ->group(group);
         AddOutputOptions(command, options, true);
       },
       "odbc-data-client data customer --fields no,name --sort \"name desc\"\n"
       "  odbc-data-client data customer --filter \"city in Rome|Oslo\" --sort no\n"
       "  odbc-data-client data customer --search smith --in name --output json\n"
       "  odbc-data-client data customer --filter \"credit > 1000\" --count\n"
       "  odbc-data-client data customer --interactive"},
      {Command::kExport, "export", "All rows of a table, to a file or standard output",
       [](CLI::App& command, Options& options) {
         AddTable(command, options);
         AddQuestionOptions(command, options);
         const std::string group = "Which rows";
         command.add_option("--after", options.after, "Go on behind this position, as an interrupted export tells it")
             ->type_name("POSITION")
             ->group(group);
         AddPageSize(command, options, "Rows to ask for at a time; so many as make about 1 MiB unless told")
             ->group(group);
         command.add_option("--output-file", options.outputFile, "File to write; it is added to with --after")
             ->type_name("FILE")
             ->group("Output");
         AddOutputOptions(command, options, false);
       },
       "odbc-data-client export customer --output-file customer.csv\n"
       "  odbc-data-client export customer --output ndjson | gzip > customer.ndjson.gz\n"
       "  odbc-data-client export customer --output-file customer.csv --after POSITION"},
      {Command::kSend, "send", "Sends a request document, and prints the answer",
       [](CLI::App& command, Options& options) {
         command.add_option("FILE", options.file, "The document; standard input when not given")->type_name("");
       },
       "odbc-data-client send request.xml\n"
       "  echo '<XML><Type>TableList</Type></XML>' | odbc-data-client send"},
  };
  return kCommands;
}

std::string Footer(const CommandRow& row) {
  std::string text = std::string("Examples:\n  ") + row.examples + "\n";
  if (row.command == Command::kData || row.command == Command::kExport) text += "\n" + ConditionHelp();
  return text +
         "\n\"odbc-data-client --help\" tells the options that say where the server is,\nand what the exit status "
         "means.";
}

}  // namespace

std::optional<int> ReadCommandLine(std::vector<std::string> arguments, Options& options) {
  CLI::App app("Asks an ODBC Data Server for the tables of its database.", "odbc-data-client");
  app.footer(
      "Examples:\n"
      "  export ODBC_DATA_REQUESTS=/srv/requests ODBC_DATA_RESULTS=/srv/results\n"
      "  odbc-data-client tables\n"
      "  odbc-data-client data customer --filter \"city eq Oslo\" --sort name\n"
      "  odbc-data-client data customer --interactive\n"
      "  odbc-data-client export customer --output-file customer.csv\n"
      "\n"
      "\"odbc-data-client COMMAND --help\" tells the options of a command. Options may\n"
      "stand before or after the command. Exit status: 0 answered, 1 the answer is an\n"
      "error document, 2 wrong usage or a file or folder that cannot be used,\n"
      "3 no answer in time, 130 interrupted.");
  app.set_version_flag("--version", "odbc-data-client " ODS_VERSION, "The version");
  app.require_subcommand(1);
  app.fallthrough();  // the options may stand before or after the command
  const auto formatter = std::make_shared<HelpFormatter>();
  formatter->label("Positionals", "Arguments");
  app.formatter(formatter);
  AddExchangeOptions(app, options);
  for (const CommandRow& row : Commands()) {
    CLI::App& command = *app.add_subcommand(row.name, row.description)->group("Commands");
    if (row.setup) row.setup(command, options);
    command.footer(Footer(row));
    command.callback([&options, &row] { options.command = row.command; });
  }
  try {
    std::ranges::reverse(arguments);  // the library takes them from the end
    app.parse(std::move(arguments));
  } catch (const CLI::ParseError& result) {
    return app.exit(result) == 0 ? exit_status::kAnswered : exit_status::kUsage;
  }
  return std::nullopt;
}

}  // namespace odbc_data

#include "Commands.h"

#include <algorithm>
#include <array>
#include <fstream>
#include <istream>
#include <ostream>
#include <string_view>
#include <utility>

#include "Asking.h"
#include "ExitStatus.h"
#include "Export.h"
#include "Pager.h"
#include "TableText.h"
#include "Terminal.h"
#include "common/Files.h"
#include "common/Hex.h"
#include "common/Text.h"
#include "platform/system/System.h"
#include "platform/xml/Xml.h"

namespace odbc_data {

namespace {

constexpr std::size_t kRowsOfAPage = 50;
/// An export aims at answers of this size: large enough that asking costs little beside reading, small enough that
/// neither side needs much memory.
constexpr std::size_t kBytesOfAPage = std::size_t{1024} * 1024;
/// Rows of the first page of an export, from which the sizes of the others follow.
constexpr std::size_t kRowsOfTheFirstPage = 200;

struct Call {
  const Options& options;
  Streams streams;
};

// -------------------------------------------------------------------------------------------------------------- Output

void Print(const Call& call, const std::string& text) {
  if (!(call.streams.output << text).flush()) throw Failure("Unable to write to standard output.");
}

TableStyle StyleOf(const Options& options) {
  TableStyle style;
  if (IsTerminal(Stream::kOutput)) style.width = TerminalWidth(Stream::kOutput);
  if (options.width) style.width = *options.width;
  style.coloured = TakesColours(Stream::kOutput);
  return style;
}

std::unique_ptr<RowWriter> WriterOf(const Options& options, Format unlessTold) {
  const Format format = options.format.value_or(unlessTold);
  return format == Format::kCsv && options.lineFeeds ? MakeCsvWriter("\n") : MakeWriter(format);
}

void PrintSheet(const Call& call, const Sheet& sheet) {
  if (call.options.format.value_or(Format::kTable) == Format::kTable) {
    Print(call, FormatTable(sheet, StyleOf(call.options)));
    return;
  }
  const auto writer = WriterOf(call.options, Format::kCsv);
  std::string text;
  writer->Begin(text, sheet.columns, false);
  for (const Row& row : sheet.rows) writer->Write(text, row);
  writer->End(text);
  Print(call, text);
}

void PrintFacts(const Call& call, const std::vector<std::pair<std::string, Cell>>& facts) {
  Sheet sheet{.columns = {{"Property"}, {"Value"}}, .rows = {}};
  for (const auto& [name, value] : facts) sheet.rows.push_back({{.text = name}, value});
  PrintSheet(call, sheet);
}

std::string YesOrNo(bool value) { return value ? "yes" : "no"; }

void TellError(const Call& call, const ErrorAnswer& error) {
  call.streams.errors << "odbc-data-client: error " << error.Number() << ": " << error.what() << '\n';
}

// ------------------------------------------------------------------------------------------------ Documents as they
// are

std::string ReadAll(std::istream& stream, const std::string& what) {
  std::string text;
  std::array<char, 65536> part{};
  while (stream.read(part.data(), part.size()) || stream.gcount() > 0) {
    text.append(part.data(), static_cast<std::size_t>(stream.gcount()));
  }
  if (!stream.eof() || stream.bad()) throw Failure("Unable to read " + what + ".");
  return text;
}

std::string ReadFileOrInput(const Call& call, const std::string& path) {
  if (path.empty()) return ReadAll(call.streams.input, "standard input");
  std::ifstream file(ods::PathOf(path), std::ios::binary);
  return ReadAll(file, "the file \"" + path + "\"");
}

/// Prints the answer to a document, whatever it is.
int AskAndPrint(const Call& call, const std::string& request) {
  Client client(ExchangeOf(call.options));
  const std::string answer = client.Receive(client.Send(request));
  Print(call, answer + "\n");
  const ods::XmlDocument document(answer);
  const ods::XmlNode error = document.SelectSingleNode("/XML/Error");
  if (!error) return exit_status::kAnswered;
  call.streams.errors << "odbc-data-client: error " << error.Text() << ": "
                      << ods::GetNodeText(document, "/XML/Message") << '\n';
  return exit_status::kErrorAnswer;
}

int Ping(const Call& call) { return AskAndPrint(call, RequestText("Ping")); }

int Send(const Call& call) { return AskAndPrint(call, ReadFileOrInput(call, call.options.file)); }

// ------------------------------------------------------------------------------------------------------------
// Catalogue

int Initialize(const Call& call) {
  Client client(ExchangeOf(call.options));
  const Capabilities found = client.Initialize();
  PrintFacts(call, {{"Name", {.text = found.name}},
                    {"Exact paging", {.text = YesOrNo(found.exact)}},
                    {"Filter operators", {.text = ods::Join(found.filterOperators, ", ")}},
                    {"User management", {.text = YesOrNo(found.userManagement)}},
                    {"Users", {.text = std::to_string(found.users)}}});
  return exit_status::kAnswered;
}

int Tables(const Call& call) {
  Client client(ExchangeOf(call.options));
  Sheet sheet{.columns = {{"Caption"}, {"Identifier"}}, .rows = {}};
  for (const Table& table : client.Tables()) sheet.rows.push_back(TextRow({table.caption, table.id}));
  PrintSheet(call, sheet);
  return exit_status::kAnswered;
}

int Fields(const Call& call) {
  Client client(ExchangeOf(call.options));
  const KnownTable table = LookUpTable(client, call.options.table);
  Sheet sheet{.columns = {{"Field"},
                          {"Caption"},
                          {"Type"},
                          {"Size", ColumnKind::kNumber},
                          {"Digits", ColumnKind::kNumber},
                          {"Null", ColumnKind::kText},
                          {"ADO", ColumnKind::kNumber}},
              .rows = {}};
  const Cell unknown{.text = {}, .isNull = true};
  for (const Field& field : table.fields) {
    Row row = TextRow({field.id, field.caption, field.exact ? field.typeName : TypeNameOf(field.type)});
    row.push_back(field.size > 0 ? Cell{.text = std::to_string(field.size)} : unknown);
    row.push_back(field.digits > 0 ? Cell{.text = std::to_string(field.digits)} : unknown);
    row.push_back(field.exact ? Cell{.text = YesOrNo(field.nullable)} : unknown);
    row.push_back({.text = std::to_string(field.type)});
    sheet.rows.push_back(std::move(row));
  }
  PrintSheet(call, sheet);
  return exit_status::kAnswered;
}

int Keys(const Call& call) {
  Client client(ExchangeOf(call.options));
  Sheet sheet{.columns = {{"Fields"}, {"Primary"}, {"Unique"}, {"Key"}}, .rows = {}};
  for (const Key& key : client.Keys(FindTableId(client, call.options.table))) {
    sheet.rows.push_back(TextRow({ods::Join(key.fields, ", "), YesOrNo(key.primary), YesOrNo(key.unique), key.id}));
  }
  PrintSheet(call, sheet);
  return exit_status::kAnswered;
}

/// The names that a key text holds.
std::string FieldsOfKey(std::string_view key) {
  std::string names;
  while (!key.empty()) {
    const bool escaped =
        key.size() >= 3 && key.front() == '\\' && ods::HexDigitValue(key[1]) >= 0 && ods::HexDigitValue(key[2]) >= 0;
    const char letter =
        escaped ? static_cast<char>(ods::HexDigitValue(key[1]) * 16 + ods::HexDigitValue(key[2])) : key.front();
    key.remove_prefix(escaped ? 3 : 1);
    names += letter == '\t' ? std::string(", ") : std::string(1, letter);
  }
  return names;
}

int FindPrimaryKey(const Call& call) {
  Client client(ExchangeOf(call.options));
  const PrimaryKey key = client.FindPrimaryKey(FindTableId(client, call.options.table));
  const auto text = [&key](const std::string& value) { return Cell{.text = value, .isNull = key.id.empty()}; };
  PrintFacts(call, {{"Fields", text(FieldsOfKey(key.id))},
                    {"Constructed", {.text = YesOrNo(key.constructed)}},
                    {"Key", text(key.id)}});
  return exit_status::kAnswered;
}

// ----------------------------------------------------------------------------------------------------------------
// Users

std::string PasswordOf(const Call& call) {
  if (call.options.askPassword) {
    if (auto password = AskHidden("Password of " + call.options.user + ": ")) return *std::move(password);
    throw UsageError("There is no terminal to ask for a password on, or it was given up.");
  }
  if (call.options.passwordFile.empty()) return "";
  std::string password = ReadFileOrInput(call, call.options.passwordFile);
  password.resize(password.find_last_not_of("\r\n") + 1);
  return password;
}

int Authorize(const Call& call) {
  const std::string password = PasswordOf(call);
  Client client(ExchangeOf(call.options));
  const Authorization found = client.Authorize(call.options.user, password, call.options.authenticated);
  PrintFacts(call, {{"User", {.text = call.options.user}},
                    {"Name", {.text = found.userName}},
                    {"Authorized", {.text = YesOrNo(found.authorized)}},
                    {"Administrator", {.text = YesOrNo(found.admin)}},
                    {"Groups", {.text = ods::Join(found.groups, ", ")}}});
  return exit_status::kAnswered;
}

int Users(const Call& call) {
  Client client(ExchangeOf(call.options));
  const UsersAndRoles all = client.UsersAndRoles();
  Sheet sheet{.columns = {{"Kind"}, {"Identifier"}, {"Name"}, {"Members"}}, .rows = {}};
  for (const User& user : all.users) {
    sheet.rows.push_back(TextRow({"user", user.id, user.name}));
    sheet.rows.back().push_back({.text = {}, .isNull = true});
  }
  for (const Role& role : all.roles) {
    sheet.rows.push_back(TextRow({"role", role.id, role.name, ods::Join(role.members, ", ")}));
  }
  PrintSheet(call, sheet);
  return exit_status::kAnswered;
}

// -----------------------------------------------------------------------------------------------------------------
// Rows

int PrintCount(const Call& call, Client& client, Question question) {
  question.count = true;
  question.pageSize = 0;
  const Page page = client.ReadPage(question, Navigate::kFirst);
  if (!page.total) throw UsageError("The server does not count: it runs without \"exact\".");
  Print(call, std::to_string(*page.total) + "\n");
  return exit_status::kAnswered;
}

/// What is told below a table on a terminal.
std::string Remark(const Page& page, std::size_t count) {
  const std::string rows = std::to_string(count) + (count == 1 ? " row" : " rows");
  if (page.hasNext) return rows + "; more follow (--page-size, --page last, --interactive)\n";
  if (page.hasPrevious) return rows + ", the last\n";
  return rows + "\n";
}

int Data(const Call& call) {
  const Options& options = call.options;
  Client client(ExchangeOf(options));
  const KnownTable table = LookUpTable(client, options.table);
  Question question = QuestionOf(options, table);
  TakeConstructedKey(client, options, question);
  question.pageSize = options.pageSize.value_or(kRowsOfAPage);
  if (options.count) return PrintCount(call, client, std::move(question));
  if (options.interactive) {
    if (!IsTerminal(Stream::kOutput)) throw UsageError("--interactive needs a terminal.");
    RunPager(client, table, std::move(question), options.lastPage);
    return exit_status::kAnswered;
  }
  Page page = client.ReadPage(question, options.lastPage ? Navigate::kLast : Navigate::kFirst);
  Sheet sheet{.columns = ColumnsOf(question, table), .rows = std::move(page.rows)};
  CutRows(sheet.rows, sheet.columns.size());
  PrintSheet(call, sheet);
  const bool asTable = options.format.value_or(Format::kTable) == Format::kTable;
  if (asTable && IsTerminal(Stream::kOutput)) Print(call, Remark(page, sheet.rows.size()));
  return exit_status::kAnswered;
}

/// Shows the progress on a terminal, in one line that is written over.
class ProgressBar {
 public:
  explicit ProgressBar(std::ostream& errors) : errors_(errors) {}

  void Show(const Progress& progress) {
    last_ = progress;
    errors_ << "\r" << ProgressLine(progress, TerminalWidth(Stream::kErrors) - 1) << "\x1B[K" << std::flush;
    shown_ = true;
  }
  /// Leaves the line, with what is to be told at the end in it, or as it is.
  void Finish(bool complete) {
    if (!shown_) return;
    if (complete) errors_ << "\r" << ProgressEnd(last_) << "\x1B[K";
    errors_ << std::endl;
  }

 private:
  std::ostream& errors_;
  Progress last_;
  bool shown_ = false;
};

/// Tells how an export that did not come to its end can go on.
void TellPosition(const Call& call, const Exported& exported) {
  if (exported.rows == 0) return;
  call.streams.errors << "odbc-data-client: " << Grouped(exported.rows)
                      << " rows were written. To go on behind them, add --after '" << exported.position << "'\n";
}

int Export(const Call& call) {
  const Options& options = call.options;
  ods::TakeFailuresInsteadOfSignals();
  ods::StopSignals signals;
  const auto stop = [&signals] { return signals.Requested(); };
  Exchange exchange = ExchangeOf(options);
  exchange.stop = stop;
  Client client(std::move(exchange));
  const KnownTable table = LookUpTable(client, options.table);
  ExportJob job{.question = QuestionOf(options, table), .columns = {}, .walk = {.after = options.after}, .writer = {}};
  TakeConstructedKey(client, options, job.question);
  job.columns = ColumnsOf(job.question, table);
  job.question.pageSize = options.pageSize.value_or(kRowsOfTheFirstPage);
  if (!options.pageSize) job.walk.pageBytes = kBytesOfAPage;
  job.writer = WriterOf(options, Format::kCsv);
  job.stop = stop;
  // Rows on the terminal would stand in the bar.
  const bool shown = IsTerminal(Stream::kErrors) && (!options.outputFile.empty() || !IsTerminal(Stream::kOutput));
  ProgressBar bar(call.streams.errors);
  if (shown) job.show = [&bar](const Progress& progress) { bar.Show(progress); };
  // Behind a position it is not known how many rows are left.
  job.question.count = shown && options.after.empty();
  ExportOutput output = options.outputFile.empty() ? ExportOutput(call.streams.output)
                                                   : ExportOutput(options.outputFile, !options.after.empty());
  Exported exported;
  try {
    RunExport(client, std::move(job), output, exported);
  } catch (const Stopped&) {
    bar.Finish(false);
    TellPosition(call, exported);
    return exit_status::kInterrupted;
  } catch (const std::exception&) {
    bar.Finish(false);
    TellPosition(call, exported);
    throw;
  }
  bar.Finish(true);
  return exit_status::kAnswered;
}

struct Runner {
  Command command;
  int (*run)(const Call& call);
};

constexpr auto kCommands = std::to_array<Runner>({
    {Command::kPing, &Ping},
    {Command::kInitialize, &Initialize},
    {Command::kTables, &Tables},
    {Command::kFields, &Fields},
    {Command::kKeys, &Keys},
    {Command::kPrimaryKey, &FindPrimaryKey},
    {Command::kAuthorize, &Authorize},
    {Command::kUsers, &Users},
    {Command::kData, &Data},
    {Command::kExport, &Export},
    {Command::kSend, &Send},
});

}  // namespace

int RunCommand(const Options& options, Streams streams) {
  const Call call{options, streams};
  try {
    return std::ranges::find(kCommands, options.command, &Runner::command)->run(call);
  } catch (const ErrorAnswer& error) {
    TellError(call, error);
    return exit_status::kErrorAnswer;
  } catch (const NoAnswer& error) {
    streams.errors << error.what() << '\n';
    return exit_status::kNoAnswer;
  } catch (const Stopped&) {
    return exit_status::kInterrupted;
  }
}

}  // namespace odbc_data

#include "server/modCommandLine.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Text.h"
#include "platform/system/ReadFile.h"
#include "server/Parameters.h"
#include "server/Product.h"

namespace ods {

namespace {

/// How much of a name is the mark before it: a slash, or one or two hyphens.
std::size_t PrefixLength(std::string_view name) {
  if (name.starts_with("--")) return 2;
  return name.starts_with('/') || name.starts_with('-') ? 1 : 0;
}

/// Takes the parts of a line off its front. Every call of `Next` takes at least one character.
class Parser {
 public:
  explicit Parser(std::string_view line) : rest_(line) {}

  /// True, standing on the first character of a parameter, when there is one more.
  bool HasMore() {
    rest_ = Trim(rest_);
    return !rest_.empty();
  }

  std::pair<std::string, std::string> Next() {
    std::pair<std::string, std::string> parameter;
    parameter.first = Name();
    if (rest_.starts_with('=')) {
      rest_.remove_prefix(1);
      parameter.second = Trim(Part(", "));
    }
    if (rest_.starts_with(',') || rest_.starts_with(' ')) rest_.remove_prefix(1);
    return parameter;
  }

 private:
  std::string Name() {
    const std::string part = Part("=, ");
    std::string_view name = Trim(part);
    name.remove_prefix(PrefixLength(name));
    return ToLower(name);
  }

  /// A quoted part, or everything before the first of `ends`.
  std::string Part(std::string_view ends) {
    if (rest_.starts_with('"')) return QuotedPart();
    const std::size_t length = std::min(rest_.find_first_of(ends), rest_.size());
    std::string part(rest_.substr(0, length));
    rest_.remove_prefix(length);
    return part;
  }

  /// A quoted part that nobody closes runs to the end of the line.
  std::string QuotedPart() {
    std::string part;
    rest_.remove_prefix(1);
    while (!rest_.empty()) {
      const std::size_t length = std::min(rest_.find('"'), rest_.size());
      part.append(rest_.substr(0, length));
      rest_.remove_prefix(std::min(length + 1, rest_.size()));
      if (!rest_.starts_with('"')) break;
      part.push_back('"');
      rest_.remove_prefix(1);
    }
    return part;
  }

  std::string_view rest_;
};

/// `part` as the grammar reads it back, in quotes when it holds one of `special`.
std::string QuoteWhereNeeded(std::string_view part, std::string_view special) {
  if (part.find_first_of(special) == std::string_view::npos) return std::string(part);
  return "\"" + ReplaceAll(part, "\"", "\"\"") + "\"";
}

std::string AsParameter(std::string_view argument) {
  const std::size_t equals = argument.find('=');
  std::string parameter = QuoteWhereNeeded(argument.substr(0, equals), " ,\"");
  if (equals == std::string_view::npos) return parameter;
  return parameter + "=" + QuoteWhereNeeded(argument.substr(equals + 1), " ,\"");
}

Information AskedBy(std::string_view argument) {
  if (argument == "/?") return Information::kHelp;
  const std::size_t prefix = PrefixLength(argument);
  if (prefix == 0) return Information::kNone;
  argument.remove_prefix(prefix);
  const std::string word = ToLower(argument);
  if (word == "help") return Information::kHelp;
  return word == "version" ? Information::kVersion : Information::kNone;
}

std::string HelpText() {
  constexpr std::size_t kMeaningColumn = 26;
  std::string text = FullProductName() + " " + ProductVersion() +
                     "\n\nUsage: odbc-data-server [<parameter> ...]\n\n"
                     "A parameter is written name=value, with or without \"/\", \"-\" or \"--\" before it.\n\n";
  for (const ParameterRow& parameter : kParameters) {
    std::string line = std::string("  ").append(parameter.name);
    if (!parameter.value.empty()) line.append("=").append(parameter.value);
    line.resize(std::max(line.size() + 1, kMeaningColumn), ' ');
    text.append(line).append(parameter.meaning).append("\n");
  }
  return text +
         "\n  -help, --help, /help, /?  show this text\n"
         "  -version, --version, /version\n"
         "                          show the version\n";
}

}  // namespace

std::shared_ptr<Dictionary> ParseCommandLine(std::string_view line) {
  auto parameters = std::make_shared<Dictionary>();
  Parser parser(line);
  while (parser.HasMore()) {
    auto [name, value] = parser.Next();
    parameters->Set(name, std::move(value));
  }
  return parameters;
}

std::vector<std::string> UnknownParameters(const Dictionary& parameters) {
  std::vector<std::string> unknown;
  for (const auto& [name, value] : parameters.Entries()) {
    const bool isNothing = name.empty() && SafeStr(value).empty();
    if (!isNothing && !IsParameter(name)) unknown.push_back(name);
  }
  return unknown;
}

void ReadParameterFile(const std::string& path, Dictionary& parameters) {
  std::string text;
  try {
    text = ReadFileText(path);
  } catch (const Error& error) {
    throw Error(error.Number(), "Error reading parameter file " + path + ". Error " + std::to_string(error.Number()) +
                                    ". " + error.Description());
  }
  // Where the grammar reads a separator, two blanks are as good as one; inside quotes a CR LF is one blank.
  text = ReplaceAll(WithoutByteOrderMark(text), "\r\n", " ");
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\r' || c == '\n'; }, ' ');
  const std::shared_ptr<Dictionary> added = ParseCommandLine(text);
  for (const auto& [name, value] : added->Entries()) {
    if (!parameters.Exists(name)) parameters.Set(name, value);
  }
}

std::string RebuildCommandLine(const std::vector<std::string>& arguments) {
  std::string line;
  for (const std::string& argument : arguments) {
    if (argument.empty()) continue;
    if (!line.empty()) line.push_back(' ');
    line += AsParameter(argument);
  }
  return line;
}

std::string CommandLineToParse(const std::optional<std::string>& raw, const std::vector<std::string>& arguments) {
  if (!raw) return RebuildCommandLine(arguments);
  // Only a name in quotes can hold an equals sign, and no parameter's does: a whole argument stands in the quotes.
  const std::vector<std::string> names = ParseCommandLine(*raw)->Keys();
  const bool wholeIsQuoted =
      std::ranges::any_of(names, [](const std::string& name) { return name.find('=') != std::string::npos; });
  return wholeIsQuoted ? RebuildCommandLine(arguments) : *raw;
}

Information AskedInformation(const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments) {
    const Information asked = AskedBy(argument);
    if (asked != Information::kNone) return asked;
  }
  return Information::kNone;
}

std::string InformationText(Information information) {
  switch (information) {
    case Information::kHelp:
      return HelpText();
    case Information::kVersion:
      return FullProductName() + " " + ProductVersion() + "\n";
    case Information::kNone:
      break;
  }
  return "";
}

}  // namespace ods

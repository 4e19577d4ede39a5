// The command line: its grammar, the parameter file, and the way from the argument vector to one line of text.
//
// A line is a row of parameters `name` or `name=value`, separated by blanks or commas. A name or a value in double
// quotes may hold anything, a double quote doubled. A slash or one or two hyphens before a name are dropped; names
// are lower-cased. A blank is the character of code 32, no other.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "common/Dictionary.h"

namespace ods {

/// The parameters of a line, name to value (a string; "" for a name without an equals sign); of several of the same
/// name the last one counts. Every text parses.
[[nodiscard]] std::shared_ptr<Dictionary> ParseCommandLine(std::string_view line);

/// The names that no parameter of the server has, in their order. Two separators without anything between, which parse
/// as an empty name without a value, are none.
[[nodiscard]] std::vector<std::string> UnknownParameters(const Dictionary& parameters);

/// Adds the parameters of a file, UTF-8 text in which a line break separates as a blank does, to `parameters`, where
/// the name is not there already. Raises the number of `ReadFile` with a text naming the file.
void ReadParameterFile(const std::string& path, Dictionary& parameters);

/// Arguments as one line: each becomes one parameter, split at its first equals sign, its parts in quotes where the
/// grammar needs them. Empty arguments are left out.
[[nodiscard]] std::string RebuildCommandLine(const std::vector<std::string>& arguments);
/// The line to parse. That is the one that was written, where the system has it, and else `RebuildCommandLine`. It is
/// rebuilt as well where a launcher has put a whole argument into quotes ("/datafolder=C:\a b"): the grammar would take
/// all of it for a name, while it reads the quotes of a value (/datafolder="C:\a b").
/// @param raw the written line, without the program's name
/// @param arguments the same as the system's rules of quoting split it
[[nodiscard]] std::string CommandLineToParse(const std::optional<std::string>& raw,
                                             const std::vector<std::string>& arguments);

/// What a command line can ask for instead of a server.
enum class Information { kNone, kHelp, kVersion };

/// The first request for help ("help" after "-", "--" or "/", and "/?") or the version ("version" likewise).
[[nodiscard]] Information AskedInformation(const std::vector<std::string>& arguments);
/// The text that answers it, ended by a line break; "" for `kNone`.
[[nodiscard]] std::string InformationText(Information information);

}  // namespace ods

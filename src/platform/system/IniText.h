// The text of an ini file as the ODBC driver manager reads it (unixODBC 2.3.11, measured): sections of named values, in
// the order of the file.
//
// A line is "[section]", "name=value", or a comment that begins with "#" or ";". Blanks around names and values do not
// count, quotation marks and semicolons within a value do. Names are compared without regard to ASCII case, and the
// first of a name counts. A text whose first line with content does not begin with "[" has no sections at all. Other
// than the driver manager, which cuts lines at 1,000 bytes, this module takes lines of any length.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ods {

struct IniEntry {
  std::string name;
  std::string value;
  std::size_t lineBegin = 0;  ///< offset of the line in the text
  std::size_t lineEnd = 0;    ///< offset of its line break, or of the end of the text
};

struct IniSection {
  std::string name;
  std::vector<IniEntry> entries;
  std::size_t end = 0;  ///< offset of the line break of its last line with content, or of the end of the text
};

/// The sections of a text. Nothing in it makes this fail: what is no line of an ini file is passed over.
[[nodiscard]] std::vector<IniSection> ParseIni(std::string_view text);
/// The section, or the value within a section, of a name; nullptr when there is none.
[[nodiscard]] const IniSection* FindSection(const std::vector<IniSection>& sections, std::string_view name);
[[nodiscard]] const IniEntry* FindEntry(const IniSection& section, std::string_view name);

/// The text with a value set in a section that exists; all other lines stay as they are. Nothing when the section does
/// not exist, or when an ini file cannot carry the name or the value (line breaks and null characters, a name that
/// would be read as something else).
[[nodiscard]] std::optional<std::string> WithIniValue(std::string_view text, std::string_view section,
                                                      std::string_view name, std::string_view value);
/// The text with a section of that name: unchanged when there is one. Nothing when an ini file cannot carry the name.
[[nodiscard]] std::optional<std::string> WithIniSection(std::string_view text, std::string_view section);

}  // namespace ods

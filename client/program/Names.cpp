#include "Names.h"

#include <algorithm>
#include <array>
#include <utility>

#include "ExitStatus.h"

namespace odbc_data {

namespace {

bool EqualWithoutCase(std::string_view one, std::string_view other) {
  return std::ranges::equal(one, other, {}, Lower, Lower);
}

/// Something that has a name, and the ways in which users call it, the most exact first.
struct Named {
  std::string id;
  std::vector<std::string> names;
};

std::string Quoted(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "\"" : ", \"") + name + "\"";
  return text;
}

[[noreturn]] void RaiseAmbiguous(const std::vector<std::string>& ids, const std::string& name,
                                 const std::string& what) {
  throw UsageError("More than one " + what + " is called \"" + name + "\": " + Quoted(ids) +
                   ". Name it by its identifier.");
}

[[noreturn]] void RaiseUnknown(const std::vector<Named>& all, const std::string& name, const std::string& what,
                               const std::string& list) {
  std::vector<std::string> names;
  for (const Named& one : all) names.insert(names.end(), one.names.begin(), one.names.end());
  const std::vector<std::string> near = NearNames(names, name);
  std::string message = "There is no " + what + " \"" + name + "\". ";
  message.append(near.empty() ? list : "Did you mean " + Quoted(near) + "?");
  throw UsageError(message);
}

std::string Find(const std::vector<Named>& all, const std::string& name, const std::string& what,
                 const std::string& list) {
  const std::size_t ways = all.empty() ? 0 : all.front().names.size();
  for (std::size_t way = 0; way < ways; ++way) {
    for (const bool withCase : {true, false}) {
      std::vector<std::string> found;
      for (const Named& one : all) {
        const std::string& other = one.names[way];
        if (withCase ? other == name : EqualWithoutCase(other, name)) found.push_back(one.id);
      }
      if (found.size() == 1) return found.front();
      if (found.size() > 1) RaiseAmbiguous(found, name, what);
    }
  }
  RaiseUnknown(all, name, what, list);
}

}  // namespace

char Lower(char letter) { return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter; }

std::size_t EditDistance(std::string_view one, std::string_view other) {
  // Three rows of the table of distances between all beginnings of the texts.
  std::array<std::vector<std::size_t>, 3> rows;
  for (auto& row : rows) row.resize(other.size() + 1);
  for (std::size_t j = 0; j <= other.size(); ++j) rows[1][j] = j;
  for (std::size_t i = 1; i <= one.size(); ++i) {
    auto& [beforeLast, last, row] = rows;
    row[0] = i;
    for (std::size_t j = 1; j <= other.size(); ++j) {
      const bool equal = Lower(one[i - 1]) == Lower(other[j - 1]);
      row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (equal ? 0U : 1U)});
      const bool swapped =
          i > 1 && j > 1 && Lower(one[i - 1]) == Lower(other[j - 2]) && Lower(one[i - 2]) == Lower(other[j - 1]);
      if (swapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
    std::swap(beforeLast, last);
    std::swap(last, row);
  }
  return rows[1][other.size()];
}

std::vector<std::string> NearNames(const std::vector<std::string>& names, std::string_view name) {
  constexpr std::size_t kMost = 3;
  std::vector<std::pair<std::size_t, std::string>> near;
  for (const std::string& candidate : names) {
    const std::size_t distance = EditDistance(candidate, name);
    const bool like = distance <= std::max<std::size_t>(1, std::min(candidate.size(), name.size()) / 3);
    const bool begins = name.size() >= 3 && EqualWithoutCase(std::string_view(candidate).substr(0, name.size()), name);
    if (like || begins) near.emplace_back(distance, candidate);
  }
  std::ranges::sort(near);
  std::vector<std::string> found;
  for (auto& [distance, candidate] : near) {
    if (found.size() < kMost && std::ranges::find(found, candidate) == found.end()) found.push_back(candidate);
  }
  return found;
}

std::string BareName(std::string_view tableId) {
  if (tableId.starts_with('[')) {
    const std::size_t end = tableId.find(']');
    if (end != std::string_view::npos) tableId.remove_prefix(end + 1);
  }
  if (tableId.empty()) return "";
  const char close = tableId.back();
  const char open = close == ']' ? '[' : close;
  if (close != ']' && close != '"' && close != '`') return std::string(tableId);
  // The last quoted part; a closing quote inside is doubled.
  std::string name;
  std::size_t position = tableId.size() - 1;
  while (position > 0) {
    const char letter = tableId[--position];
    if (letter == close && position > 0 && tableId[position - 1] == close) {
      --position;
    } else if (letter == open) {
      break;
    }
    name += letter;
  }
  std::ranges::reverse(name);
  return name;
}

std::string FindTable(const std::vector<Table>& tables, const std::string& name) {
  std::vector<Named> all;
  all.reserve(tables.size());
  for (const Table& table : tables) all.push_back({table.id, {table.id, table.caption, BareName(table.id)}});
  return Find(all, name, "table", "\"odbc-data-client tables\" lists them.");
}

std::string FindField(const std::vector<Field>& fields, const std::string& name) {
  std::vector<Named> all;
  std::vector<std::string> ids;
  all.reserve(fields.size());
  ids.reserve(fields.size());
  for (const Field& field : fields) {
    all.push_back({field.id, {field.id, field.caption}});
    ids.push_back(field.id);
  }
  return Find(all, name, "field", "There are " + Quoted(ids) + ".");
}

}  // namespace odbc_data

#include "database/modSelect.h"

#include <algorithm>
#include <optional>

#include "common/Error.h"
#include "common/Text.h"
#include "database/modViews.h"

namespace ods {
namespace {

/// True for one to three parts in brackets joined by ".", every "]" inside a part doubled.
bool IsBracketedName(std::string_view name) {
  constexpr int kMaxParts = 3;
  std::size_t at = 0;
  for (int part = 0; part < kMaxParts; ++part) {
    if (at >= name.size() || name[at] != '[') return false;
    std::size_t end = at + 1;
    while (true) {
      end = name.find(']', end);
      if (end == std::string_view::npos) return false;
      if (end + 1 >= name.size() || name[end + 1] != ']') break;
      end += 2;
    }
    if (end == at + 1) return false;
    at = end + 1;
    if (at == name.size()) return true;
    if (name[at] != '.') return false;
    ++at;
  }
  return false;
}

/// Takes the part in the connection's quotes that `name` begins with, and gives it without them; nothing, and `name` as
/// it was, when it begins with none or with one that is empty.
std::optional<std::string> TakeQuotedPart(const DataSession& session, std::string_view& name) {
  const std::string_view prefix = session.QuotePrefix;
  const std::string_view suffix = session.QuoteSuffix;
  if (prefix.empty() || suffix.empty() || !name.starts_with(prefix)) return std::nullopt;
  std::string part;
  for (std::size_t at = prefix.size();;) {
    const std::size_t end = name.find(suffix, at);
    if (end == std::string_view::npos) return std::nullopt;
    part.append(name.substr(at, end - at));
    at = end + suffix.size();
    if (!name.substr(at).starts_with(suffix)) {
      if (part.empty()) return std::nullopt;
      name.remove_prefix(at);
      return part;
    }
    part.append(suffix);
    at += suffix.size();
  }
}

/// True for a name that no product takes for anything but a name when it has no quotes around it.
bool CanStandBare(std::string_view name) {
  const auto isPlain = [](char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_' || c == '$' ||
           c == '.' || static_cast<unsigned char>(c) >= 0x80;
  };
  return !name.empty() && std::ranges::all_of(name, isPlain);
}

/// The statement over `source`, which is a quoted table name or a derived table.
std::string AssembleSelect(const DataSession& session, std::string_view source, std::int32_t top,
                           const SelectParts& parts) {
  const RowLimit limit = session.dialect->rowLimit;
  std::string sql = "SELECT";
  if (limit == RowLimit::kTop) sql += " TOP " + std::to_string(top);
  sql.append(" ").append(parts.fields).append(" FROM ").append(source);
  if (!parts.where.empty()) sql.append(" WHERE (").append(parts.where).append(")");
  if (!parts.orderBy.empty()) sql.append(" ORDER BY ").append(parts.orderBy);
  if (limit == RowLimit::kLimit) sql += " LIMIT " + std::to_string(top);
  return sql;
}

/// Fills a view's own markers. Two passes, so that a value is never mistaken for another marker.
std::string FillMacros(const ViewQuery& view, std::int32_t top, const SelectParts& parts) {
  constexpr std::string_view kTopMacro = "$$$$TOP_MACRO$$$$";
  constexpr std::string_view kWhereMacro = "$$$$WHERE_MACRO$$$$";
  constexpr std::string_view kOrderByMacro = "$$$$ORDERBY_MACRO$$$$";
  constexpr std::string_view kFieldListMacro = "$$$$FIELDLIST_MACRO$$$$";

  const bool hasTop = !view.top.empty();
  const bool hasWhere = !parts.where.empty() && !view.where.empty();
  const bool hasOrderBy = !parts.orderBy.empty() && !view.orderBy.empty();
  const bool hasFields = !parts.fields.empty() && !view.fields.empty();

  std::string sql = view.text;
  const auto replace = [&sql](bool wanted, std::string_view from, std::string_view to) {
    if (wanted) sql = ReplaceAll(sql, from, to);
  };
  replace(hasTop, view.top, kTopMacro);
  replace(hasWhere, view.where, kWhereMacro);
  replace(hasOrderBy, view.orderBy, kOrderByMacro);
  replace(hasFields, view.fields, kFieldListMacro);
  replace(hasTop, kTopMacro, std::to_string(top));
  replace(hasWhere, kWhereMacro, parts.where);
  replace(hasFields, kFieldListMacro, parts.fields);
  replace(hasOrderBy, kOrderByMacro, parts.orderBy);
  return sql;
}

}  // namespace

std::string_view GetBareName(std::string_view identifier) {
  const std::size_t end = identifier.find(']');
  return end == std::string_view::npos ? identifier : identifier.substr(end + 1);
}

std::string_view GetTableType(std::string_view identifier) {
  const std::size_t end = identifier.find(']');
  if (!identifier.starts_with('[') || end == std::string_view::npos) return kTypeTable;
  return identifier.substr(1, end - 1);
}

SchemaAndName SplitTableName(std::string_view identifier, const Dialect& dialect) {
  const std::string_view name = GetBareName(identifier);
  if (dialect.bracketedNames && name.starts_with('[')) {
    const std::vector<std::string> parts = Split(name, "].[");
    if (parts.size() == 2) {
      std::string_view last = parts[1];
      if (last.ends_with(']')) last.remove_suffix(1);
      return {parts[0].substr(1), std::string(last)};
    }
  }
  return {"", std::string(name)};
}

void RequireStatementSize(std::size_t bytes) {
  if (bytes <= kMaxStatementBytes) return;
  throw Error(error_number::kOwn, "The request makes a statement of more than " + std::to_string(kMaxStatementBytes) +
                                      " bytes. Ask with shorter or fewer conditions.");
}

std::string QuoteIdentifier(const DataSession& session, std::string_view name) {
  if (session.QuotePrefix.empty() || session.QuoteSuffix.empty()) {
    if (CanStandBare(name)) return std::string(name);
    throw Error(error_number::kOwn,
                "The name \"" + std::string(name) +
                    "\" cannot be used: this connection has no identifier quotes, and without them a name is made of "
                    "letters, digits, \"_\", \"$\" and \".\" only.");
  }
  return session.QuotePrefix + ReplaceAll(name, session.QuoteSuffix, session.QuoteSuffix + session.QuoteSuffix) +
         session.QuoteSuffix;
}

std::vector<std::string> SplitQuotedName(const DataSession& session, std::string_view name) {
  constexpr std::size_t kMaxParts = 2;
  std::vector<std::string> parts;
  while (parts.size() < kMaxParts) {
    const std::optional<std::string> part = TakeQuotedPart(session, name);
    if (!part) return {};
    parts.push_back(*part);
    if (name.empty()) return parts;
    if (!name.starts_with('.')) return {};
    name.remove_prefix(1);
  }
  return {};
}

std::string QuoteTableName(const DataSession& session, std::string_view name) {
  if (session.dialect->bracketedNames && IsBracketedName(name)) return std::string(name);
  if (session.namesWithSchema && !SplitQuotedName(session, name).empty()) return std::string(name);
  return QuoteIdentifier(session, name);
}

std::string BuildSelect(const DataSession& session, const std::string& table, std::int32_t& top,
                        const SelectParts& parts, bool& fieldsFixed) {
  constexpr std::string_view kSubqueryAlias = "KORVANTASUBQUERYNAME";
  if (top < 1) top = 1;
  const std::string_view bareName = GetBareName(table);
  if (GetTableType(table) != kTypeAppView) {
    return AssembleSelect(session, QuoteTableName(session, bareName), top, parts);
  }
  const std::optional<ViewQuery> view = FindViewQuery(session.process->configFolder, bareName);
  if (!view) throw Error(error_number::kOwn, "Unable to locate the view with id " + table + ".");
  if (!view->isMacro) {
    return AssembleSelect(session, "(" + view->text + ") AS " + QuoteIdentifier(session, kSubqueryAlias), top, parts);
  }
  fieldsFixed = view->fields.empty();
  return FillMacros(*view, top, parts);
}

std::string BuildSelectOne(const DataSession& session, const std::string& table, const SelectParts& parts,
                           bool& fieldsFixed) {
  std::int32_t top = 1;
  return BuildSelect(session, table, top, parts, fieldsFixed);
}

}  // namespace ods

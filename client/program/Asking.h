// Makes a question to the server of what the user asks in words.
#pragma once

#include <string>
#include <vector>

#include "OdbcDataClient.h"
#include "Options.h"

namespace odbc_data {

/// A table with its fields.
struct KnownTable {
  std::string id;
  std::vector<Field> fields;
};

/// Finds the table that the user means. Raises `UsageError`.
[[nodiscard]] std::string FindTableId(Client& client, const std::string& name);
[[nodiscard]] KnownTable LookUpTable(Client& client, const std::string& name);

/// The question that the options ask of a table. Raises `UsageError`, also for what the server cannot answer: one that
/// does not page exactly would pass over it in silence.
[[nodiscard]] Question QuestionOf(const Options& options, const KnownTable& table);
void RequireAnswerable(const Question& question, const KnownTable& table);

/// The fields that a search looks through unless told: those of text, or all where there is none.
[[nodiscard]] std::vector<std::string> SearchableFields(const KnownTable& table);

/// The key that the server makes up, when the options allow it and the question needs it.
void TakeConstructedKey(Client& client, const Options& options, Question& question);

/// The columns of the fields of a question.
[[nodiscard]] std::vector<SheetColumn> ColumnsOf(const Question& question, const KnownTable& table);

}  // namespace odbc_data

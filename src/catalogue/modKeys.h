// Keys: their texts, the choice or construction of a primary key, and the requests `KeyList` and `PrimaryKey`.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "database/RequestHandler.h"

namespace ods {

/// The field names of a key as one escaped text: joined by tabs, then every character other than an ASCII letter or "_"
/// written as "\" and the two upper-case hexadecimal digits of each of its UTF-8 bytes.
[[nodiscard]] std::string KeyToText(const std::vector<std::string>& fields);
/// The field names of a key text: unescaped, then split at tabs; none for "". A "\" that is not followed by two
/// hexadecimal digits raises error 13.
[[nodiscard]] std::vector<std::string> TextToKey(std::string_view text);

/// One index of a table.
struct Key {
  std::string name;
  bool unique = false;
  bool primary = false;  ///< declared as primary key
  std::vector<std::string> fields;
};

/// What `GetTableKeys` finds out.
struct TableKeys {
  std::string PrimaryKey;                          ///< name of the chosen index, empty when none
  std::vector<std::string> ConstructedPrimaryKey;  ///< fields of the key to use
  bool IsConstructed = false;                      ///< built from columns, not from an index
  bool FixedPrimary = false;                       ///< the client may not choose another one
  std::vector<Key> Keys;                           ///< in the order in which the driver lists them

  /// The key of a name, or nullptr.
  [[nodiscard]] const Key* Find(std::string_view name) const;
};

/// The indexes of a table and the primary key to use. A failure to read the indexes means that there are none.
[[nodiscard]] TableKeys GetTableKeys(DataSession& session, const std::string& table);

/// Answers with keys in their order; the one named `primary` is the primary key.
void WriteKeyList(const std::vector<Key>& keys, std::string_view primary, bool choosePrimary, XmlDocument& response);
void WritePrimaryKey(const std::vector<std::string>& fields, bool constructed, XmlDocument& response);

void ProcessKeyList(const XmlDocument& request, XmlDocument& response, DataSession& session);
void ProcessPrimaryKey(const XmlDocument& request, XmlDocument& response, DataSession& session);

}  // namespace ods

// The registry's ODBC keys: on Windows the system's own, elsewhere the driver manager's ini files.
//
// A path is root, "\", key: "HKEY_LOCAL_MACHINE\SOFTWARE\ODBC\ODBC.INI\Sales". Roots have a full and a short name
// ("HKEY_CLASSES_ROOT" "HKCR", "HKEY_CURRENT_USER" "HKCU", "HKEY_LOCAL_MACHINE" "HKLM", "HKEY_USERS" "HKUR"); roots,
// keys and names of values are compared without regard to ASCII case. These keys exist, all others do not:
//
//   HKLM\Software\ODBC\ODBCINST.INI   installed drivers of the machine     HKCU\Software\ODBC\ODBCINST.INI  of the user
//   HKLM\Software\ODBC\ODBC.INI       data sources of the machine          HKCU\Software\ODBC\ODBC.INI      of the user
//
// Where they are ini files, each is a file (OdbcFiles.h), its sub-keys are the sections, their values the lines. An ini
// file holds text alone: a number is written in decimal, bytes as hexadecimal digits, and everything is read as text.
//
// The files are read and written here, not by the driver manager's installer library: that hands out values up to 20
// seconds old, makes files and sections that are missing, cuts values at some 990 bytes, and drops all comments when it
// writes. A file that is no plain file or holds more than 1 MiB cannot be opened.
#pragma once

#include <memory>
#include <string_view>

#include "common/ComponentRegistry.h"
#include "common/Dictionary.h"
#include "common/Value.h"

namespace ods {

/// A new "Halvik.Dictionary": each sub-key as a dictionary of its own under its name, then each value under its name,
/// in the order of the file. Names and data of more than 2,000 bytes are left out. No object when the key cannot be
/// opened. Raises what creating the dictionary raises, and nothing else.
[[nodiscard]] std::shared_ptr<Dictionary> RegReadKey(const ComponentRegistry& components, std::string_view path);

/// The value at a path whose last part is its name; null when the key or the value does not exist.
[[nodiscard]] Value RegRead(std::string_view path);

/// Writes a value into a key that exists, or creates the key of a path that ends in "\"; true on success. False leaves
/// everything as it was. The file is replaced in one step and keeps its other lines, its owner and its mode.
bool RegWrite(std::string_view path, const Value& value);

}  // namespace ods

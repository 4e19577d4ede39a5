#include "platform/system/Registry.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "common/Conversions.h"
#include "common/Text.h"
#include "platform/system/RegistryPath.h"
#include "platform/system/win32/Win32.h"

namespace ods {

namespace {

/// What an enumeration of a key hands out at most, for a name and for its data, in letters.
constexpr DWORD kMaximumEnumerated = 2000;

struct RootName {
  std::string_view fullName;
  std::string_view shortName;
  HKEY root;
};

std::optional<HKEY> FindRoot(std::string_view name) {
  // Not constants: the system's numbers of its roots are cast to pointers.
  const std::array<RootName, 4> names = {{{"HKEY_CLASSES_ROOT", "HKCR", HKEY_CLASSES_ROOT},
                                          {"HKEY_CURRENT_USER", "HKCU", HKEY_CURRENT_USER},
                                          {"HKEY_LOCAL_MACHINE", "HKLM", HKEY_LOCAL_MACHINE},
                                          {"HKEY_USERS", "HKUR", HKEY_USERS}}};
  const std::string upper = ToUpper(name);
  const auto* const found = std::ranges::find_if(
      names, [&upper](const RootName& root) { return upper == root.fullName || upper == root.shortName; });
  return found == names.end() ? std::nullopt : std::optional(found->root);
}

/// An open key of the registry, or none.
class Key {
 public:
  Key() = default;
  Key(HKEY parent, const std::wstring& path, REGSAM access) {
    if (RegOpenKeyExW(parent, path.c_str(), 0, access, &key_) != ERROR_SUCCESS) key_ = nullptr;
  }
  ~Key() {
    if (key_ != nullptr) RegCloseKey(key_);
  }
  Key(Key&& other) noexcept : key_(std::exchange(other.key_, nullptr)) {}
  Key(const Key&) = delete;
  Key& operator=(const Key&) = delete;
  Key& operator=(Key&&) = delete;

  /// Makes the key where it is missing.
  static bool Create(HKEY parent, const std::wstring& path) {
    Key made;
    return RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &made.key_, nullptr) ==
           ERROR_SUCCESS;
  }

  explicit operator bool() const { return key_ != nullptr; }
  [[nodiscard]] HKEY Get() const { return key_; }

 private:
  HKEY key_ = nullptr;
};

struct KeyPath {
  HKEY root;
  std::wstring key;
};

std::optional<KeyPath> Locate(std::string_view path) {
  const std::size_t rootEnd = std::min(path.find('\\'), path.size());
  const auto root = FindRoot(path.substr(0, rootEnd));
  if (!root) return std::nullopt;
  return KeyPath{*root, ToWide(path.substr(std::min(rootEnd + 1, path.size())))};
}

Key Open(std::string_view path, REGSAM access) {
  const auto located = Locate(path);
  return located ? Key(located->root, located->key, access) : Key();
}

std::string TextOfValue(const std::vector<BYTE>& data) {
  std::wstring text(data.size() / sizeof(wchar_t), L'\0');
  std::memcpy(text.data(), data.data(), text.size() * sizeof(wchar_t));
  if (text.ends_with(L'\0')) text.pop_back();
  return FromWide(text);
}

Value ToValue(DWORD type, const std::vector<BYTE>& data) {
  std::int32_t number = 0;
  switch (type) {
    case REG_SZ:
    case REG_EXPAND_SZ:
    case REG_MULTI_SZ:
      return TextOfValue(data);
    case REG_DWORD:
      std::memcpy(&number, data.data(), std::min(sizeof number, data.size()));
      return number;
    default:
      return Bytes(data.begin(), data.end());
  }
}

void ReadSubKeys(const ComponentRegistry& components, const Key& key, Dictionary& dictionary);

/// Values that are too long are left out.
void ReadValues(const Key& key, Dictionary& dictionary) {
  std::wstring name(kMaximumEnumerated + 1, L'\0');
  std::vector<BYTE> data((kMaximumEnumerated + 1) * sizeof(wchar_t));
  for (DWORD index = 0;; ++index) {
    auto size = static_cast<DWORD>(name.size());
    auto dataSize = static_cast<DWORD>(data.size());
    DWORD type = 0;
    const LONG result = RegEnumValueW(key.Get(), index, name.data(), &size, nullptr, &type, data.data(), &dataSize);
    if (result == ERROR_MORE_DATA) continue;
    if (result != ERROR_SUCCESS) return;
    dictionary.Set(FromWide(std::wstring_view(name).substr(0, size)),
                   ToValue(type, {data.data(), data.data() + dataSize}));
  }
}

std::shared_ptr<Dictionary> ReadKey(const ComponentRegistry& components, const Key& key) {
  auto dictionary = CreateHalvikDictionary(components);
  ReadSubKeys(components, key, *dictionary);
  ReadValues(key, *dictionary);
  return dictionary;
}

void ReadSubKeys(const ComponentRegistry& components, const Key& key, Dictionary& dictionary) {
  std::wstring name(kMaximumEnumerated + 1, L'\0');
  for (DWORD index = 0;; ++index) {
    auto size = static_cast<DWORD>(name.size());
    if (RegEnumKeyExW(key.Get(), index, name.data(), &size, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
      return;
    const std::wstring subName = name.substr(0, size);
    const Key subKey(key.Get(), subName, KEY_READ);
    if (subKey) dictionary.Set(FromWide(subName), std::shared_ptr<Object>(ReadKey(components, subKey)));
  }
}

}  // namespace

std::shared_ptr<Dictionary> RegReadKey(const ComponentRegistry& components, std::string_view path) {
  if (path.ends_with('\\')) path.remove_suffix(1);
  const Key key = Open(path, KEY_READ);
  return key ? ReadKey(components, key) : nullptr;
}

Value RegRead(std::string_view path) {
  const RegistryPath parts = SplitAtLast(path);
  const Key key = Open(parts.key, KEY_READ);
  if (!key) return Null{};
  const std::wstring name = ToWide(parts.last);
  std::vector<BYTE> data(256);
  DWORD type = 0;
  auto size = static_cast<DWORD>(data.size());
  LONG result = RegQueryValueExW(key.Get(), name.c_str(), nullptr, &type, data.data(), &size);
  while (result == ERROR_MORE_DATA) {  // also when somebody writes a longer one in between
    data.resize(size);
    result = RegQueryValueExW(key.Get(), name.c_str(), nullptr, &type, data.data(), &size);
  }
  if (result != ERROR_SUCCESS) return Null{};
  data.resize(size);
  return ToValue(type, data);
}

bool RegWrite(std::string_view path, const Value& value) {
  const RegistryPath parts = SplitAtLast(path);
  if (parts.last.empty()) {
    const auto located = Locate(parts.key);
    return located && Key::Create(located->root, located->key);
  }
  const Key key = Open(parts.key, KEY_WRITE);
  if (!key) return false;
  const std::wstring name = ToWide(parts.last);
  const auto set = [&](DWORD type, const void* data, std::size_t size) {
    return RegSetValueExW(key.Get(), name.c_str(), 0, type, static_cast<const BYTE*>(data), static_cast<DWORD>(size)) ==
           ERROR_SUCCESS;
  };
  if (const Bytes* bytes = value.GetIf<Bytes>()) return set(REG_BINARY, bytes->data(), bytes->size());
  if (const auto* number = value.GetIf<std::int32_t>()) return set(REG_DWORD, number, sizeof *number);
  const std::wstring text = ToWide(SafeStr(value));
  return set(REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

}  // namespace ods

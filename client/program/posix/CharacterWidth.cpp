#include "CharacterWidth.h"

#include <clocale>
#include <cwchar>
#include <langinfo.h>
#include <string_view>

#include "Width.h"

namespace odbc_data {

void UseUnicode() {
  const bool users = std::setlocale(LC_CTYPE, "") != nullptr;
  if (!users || std::string_view(nl_langinfo(CODESET)) != "UTF-8") std::setlocale(LC_CTYPE, "C.UTF-8");
}

int CharacterWidth(char32_t character) { return wcwidth(static_cast<wchar_t>(character)); }

}  // namespace odbc_data

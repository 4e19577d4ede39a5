#include "CharacterWidth.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <fcntl.h>
#include <io.h>

#include "Width.h"
#include "platform/system/win32/Win32.h"

namespace odbc_data {

namespace {

struct Range {
  char32_t first;
  char32_t last;
  int width;
};

/// The system does not tell: by blocks of Unicode 15, whose few exceptions this does not know.
constexpr auto kRanges = std::to_array<Range>({
    {0x0000, 0x001F, -1},       {0x007F, 0x009F, -1},  {0x0300, 0x036F, 0},   {0x0483, 0x0489, 0},
    {0x0591, 0x05BD, 0},        {0x0610, 0x061A, 0},   {0x064B, 0x065F, 0},   {0x1100, 0x115F, 2},
    {0x1160, 0x11FF, 0},        {0x1AB0, 0x1AFF, 0},   {0x1DC0, 0x1DFF, 0},   {0x200B, 0x200F, 0},
    {0x202A, 0x202E, 0},        {0x2060, 0x2064, 0},   {0x20D0, 0x20F0, 0},   {0x2E80, 0x303E, 2},
    {0x3041, 0xA4CF, 2},        {0xA960, 0xA97C, 2},   {0xAC00, 0xD7A3, 2},   {0xD800, 0xDFFF, -1},
    {0xF900, 0xFAFF, 2},        {0xFE00, 0xFE0F, 0},   {0xFE20, 0xFE2F, 0},   {0xFE30, 0xFE6F, 2},
    {0xFEFF, 0xFEFF, 0},        {0xFF01, 0xFF60, 2},   {0xFFE0, 0xFFE6, 2},   {0x1F300, 0x1F64F, 2},
    {0x1F680, 0x1F6FF, 2},      {0x1F900, 0x1F9FF, 2}, {0x20000, 0x3FFFD, 2}, {0xE0001, 0xE01EF, 0},
    {0x110000, 0xFFFFFFFF, -1},
});

}  // namespace

void UseUnicode() {
  SetConsoleOutputCP(CP_UTF8);
  SetConsoleCP(CP_UTF8);
  // Line ends as they are written: what is exported is the same on every system.
  for (std::FILE* stream : {stdin, stdout}) _setmode(_fileno(stream), _O_BINARY);
}

int CharacterWidth(char32_t character) {
  const auto* const found =
      std::ranges::find_if(kRanges, [character](const Range& range) { return character <= range.last; });
  return found != kRanges.end() && found->first <= character ? found->width : 1;
}

}  // namespace odbc_data

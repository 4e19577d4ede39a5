// The driver manager's headers, which need the system's own before them.
#pragma once

#include "platform/system/win32/Win32.h"

// clang-format off: they need the one above.
#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>
// clang-format on

// The driver manager's headers.
#pragma once

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include "log/Log.h"

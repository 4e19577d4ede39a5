#include "sqlformat/modTypes.h"

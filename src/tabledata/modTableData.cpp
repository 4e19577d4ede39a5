#include "tabledata/modTableData.h"

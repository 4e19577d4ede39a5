#include "database/modODBC.h"

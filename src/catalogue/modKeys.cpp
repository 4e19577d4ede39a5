#include "catalogue/modKeys.h"

#include "platform/system/System.h"

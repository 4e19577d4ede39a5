#include "platform/ado/Ado.h"

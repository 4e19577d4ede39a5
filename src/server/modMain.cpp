#include "common/UserInterface.h"

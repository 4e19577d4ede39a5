#include "platform/queue/Queue.h"

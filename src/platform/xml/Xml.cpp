#include "platform/xml/Xml.h"

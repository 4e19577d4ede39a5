// What stat(2) tells, as facts of a file.
#pragma once

#include <sys/stat.h>

#include "platform/system/FileFacts.h"

namespace ods {

[[nodiscard]] FileFacts ToFacts(const struct stat& facts);

}  // namespace ods

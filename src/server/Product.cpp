#include "server/Product.h"

namespace ods {

namespace {

std::string MajorMinor() { return std::to_string(ODS_VERSION_MAJOR) + "." + std::to_string(ODS_VERSION_MINOR); }

}  // namespace

std::string FullProductName() { return std::string(kProductName) + " - " + kApplicationTitle; }

std::string ProductVersion() { return MajorMinor() + "." + std::to_string(ODS_VERSION_REVISION); }

std::string LoggedVersion() { return MajorMinor() + ".0." + std::to_string(ODS_VERSION_REVISION); }

}  // namespace ods

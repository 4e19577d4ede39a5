#include "server/OperatorView.h"

#include "server/Product.h"

namespace ods {

std::string OperatorView::ApplicationTitle() const { return kApplicationTitle; }

std::string OperatorView::ProductName() const { return kProductName; }

std::string OperatorView::Version() const { return ProductVersion(); }

OperatorSettings OperatorView::GetSettings() const {
  const Configuration& current = settings_.configuration;
  return {current.DSN, current.User, current.Password, current.ConnectionString, current.DebugMode};
}

void OperatorView::StoreSettings(const OperatorSettings& settings) {
  Configuration& current = settings_.configuration;
  current.DSN = settings.DSN;
  current.User = settings.User;
  current.Password = settings.Password;
  current.ConnectionString = settings.ConnectionString;
  current.DebugMode = settings.DebugMode;
  state_.pollingEnabled = true;
  state_.databaseConnectPending = true;
  state_.queueConnectPending = true;
  process_.ServerSessionId.clear();
}

void OperatorView::SaveSettings() { SaveConfiguration(settings_.config, settings_.configuration); }

std::string OperatorView::DriverPattern() const {
  return GetNodeText(*process_.context, "/Context/DataServer/ODBCDrivers");
}

}  // namespace ods

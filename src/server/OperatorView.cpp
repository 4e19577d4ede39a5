#include "server/OperatorView.h"

#include "server/Product.h"

namespace ods {

namespace {

void Take(const OperatorSettings& settings, Configuration& configuration) {
  configuration.DSN = settings.DSN;
  configuration.User = settings.User;
  configuration.Password = settings.Password;
  configuration.ConnectionString = settings.ConnectionString;
  configuration.DebugMode = settings.DebugMode;
}

}  // namespace

std::string OperatorView::ApplicationTitle() const { return kApplicationTitle; }

std::string OperatorView::ProductName() const { return kProductName; }

std::string OperatorView::Version() const { return ProductVersion(); }

OperatorSettings OperatorView::GetSettings() const {
  const Configuration& current = settings_.configuration;
  return {current.DSN, current.User, current.Password, current.ConnectionString, current.DebugMode};
}

void OperatorView::SaveSettings(const OperatorSettings& settings) {
  Configuration changed = settings_.configuration;
  Take(settings, changed);
  SaveConfiguration(settings_.config, changed);
}

void OperatorView::StoreSettings(const OperatorSettings& settings) {
  Take(settings, settings_.configuration);
  state_.pollingEnabled = true;
  state_.databaseConnectPending = true;
  state_.queueConnectPending = true;
  process_.ServerSessionId.clear();
}

std::string OperatorView::DriverPattern() const {
  return GetNodeText(*process_.context, "/Context/DataServer/ODBCDrivers");
}

}  // namespace ods

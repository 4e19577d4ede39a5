// What the windows see of the server, and the little that they may ask of it. The server hands them one; they reach
// nothing else of it.
#pragma once

#include <cstdint>
#include <string>

#include "common/Value.h"

namespace ods {

/// The status texts.
namespace status_text {
inline constexpr const char* kConnectToDatabase = "Connect to Database";
inline constexpr const char* kConnectToQueue = "Connect to Queue";
inline constexpr const char* kRunning = "Running";
inline constexpr const char* kStopped = "Stopped";
inline constexpr const char* kProcessing = "Processing...";
}  // namespace status_text

/// The button states: "STOP" while polling, "START" while stopped.
namespace button_state {
inline constexpr const char* kStop = "STOP";
inline constexpr const char* kStart = "START";
}  // namespace button_state

/// The settings that an operator edits.
struct OperatorSettings {
  std::string DSN;
  std::string User;
  std::string Password;
  std::string ConnectionString;
  bool DebugMode = false;

  bool operator==(const OperatorSettings&) const = default;
};

class ServerView {
 public:
  ServerView() = default;
  ServerView(const ServerView&) = delete;
  ServerView& operator=(const ServerView&) = delete;
  ServerView(ServerView&&) = delete;
  ServerView& operator=(ServerView&&) = delete;
  virtual ~ServerView() = default;

  /// "ODBC Data Server".
  [[nodiscard]] virtual std::string ApplicationTitle() const = 0;
  /// "Korvanta".
  [[nodiscard]] virtual std::string ProductName() const = 0;
  /// Major, minor and revision joined by ".".
  [[nodiscard]] virtual std::string Version() const = 0;

  /// The server's state in words, one of `status_text`; "" before the first.
  [[nodiscard]] virtual const std::string& StatusText() const = 0;
  /// One of `button_state`.
  [[nodiscard]] virtual const std::string& ButtonAction() const = 0;
  /// Local time.
  [[nodiscard]] virtual Date StartTime() const = 0;
  [[nodiscard]] virtual std::int32_t RequestCount() const = 0;

  /// The server ends after the request in hand.
  virtual void ClearRunFlag() = 0;
  /// True once somebody outside asked the server to stop: no box may hold it up then.
  [[nodiscard]] virtual bool StopRequested() const = 0;
  /// True when nobody is there to answer a box: the server shows none on its own.
  [[nodiscard]] virtual bool Unattended() const = 0;

  /// The longest wait for a connection to a database, in seconds; 0 for ever.
  [[nodiscard]] virtual int ConnectTimeout() const = 0;

  [[nodiscard]] virtual OperatorSettings GetSettings() const = 0;
  /// Writes the configuration file with these settings; the server's own stay as they are. Raises error 1000 naming the
  /// path.
  virtual void SaveSettings(const OperatorSettings& settings) = 0;
  /// Takes the settings over: the next round of the loop reconnects with them, under a new id of the data session.
  virtual void StoreSettings(const OperatorSettings& settings) = 0;
  /// The text of the context document's element "/Context/DataServer/ODBCDrivers", "" when there is none.
  [[nodiscard]] virtual std::string DriverPattern() const = 0;
};

}  // namespace ods

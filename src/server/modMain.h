// Start-up: from the command line to the running loop, and back.
#pragma once

#include <functional>
#include <string>

#include "common/ComponentRegistry.h"
#include "common/Dictionary.h"
#include "common/UserInterface.h"
#include "database/DataSession.h"
#include "log/Trace.h"
#include "platform/system/DefaultFolders.h"
#include "platform/xml/Xml.h"
#include "server/OperatorView.h"
#include "server/Parameters.h"
#include "server/ServerState.h"
#include "server/Settings.h"
#include "server/modSignal.h"

namespace ods {

/// Registers the components that the server is made of: the message queue and the database connection.
void RegisterComponents(ComponentRegistry& components);

/// What a server is given by the program around it. Everything is borrowed and outlives it.
struct ServerSurroundings {
  UserInterface& ui;
  Tracer& tracer;
  const ComponentRegistry& components;
  std::string executablePath;
  /// True once a stop was asked for from outside. May be empty.
  std::function<bool()> stopRequested = {};
  /// Makes `ui` show windows from here on; called when the server is not to be hidden, before anything is opened.
  /// Raises an error that names what is missing when no window can be shown. May be empty.
  std::function<void(ServerView&)> openWindows = {};
};

/// One server process, from its start to its stop.
class Server {
 public:
  explicit Server(ServerSurroundings surroundings);

  /// Starts up by a command line, does what its mode says, and returns when the server has stopped and no window is
  /// left open. Raises an error that names what is wrong when the start fails; it is traced too as soon as there is a
  /// log.
  void Run(const std::string& commandLine);

  /// Shows what `Run` raised in a box, for somebody who does not see standard error, and returns when it was closed;
  /// does nothing for an unattended server and where no window can be shown.
  void ShowFailure(const std::string& text);

  [[nodiscard]] const Settings& GetSettings() const { return settings_; }
  [[nodiscard]] const ServerState& State() const { return state_; }
  /// The context document; an empty one when it did not load.
  [[nodiscard]] const XmlDocument& Context() const { return context_; }

 private:
  void Trace(std::string_view text) const { surroundings_.tracer.Trace(text); }
  void StartUp(const std::string& commandLine);
  void ReadAttendance(const Dictionary& parameters);
  void ReadParameters(const Dictionary& parameters);
  void ReadFolders(const Dictionary& parameters);
  void OpenLog();
  void OpenWindows();
  void LoadContext(const Dictionary& parameters);
  void LoadIniFile();
  void PrepareQueue(const char* caption, ParameterName parameter, const char* defaultName, const Dictionary& parameters,
                    std::string& folder) const;
  void RequireTwoQueues() const;
  void RunMode(StatusSignals& signals);
  void RunServer(StatusSignals& signals);
  void TellNoDataSource(StatusSignals& signals);
  void RunLoop(StatusSignals& signals);

  ServerSurroundings surroundings_;
  std::string exeFolder_;
  DefaultFolders defaults_;
  bool windowsTried_ = false;
  Settings settings_;
  ServerState state_;
  ProcessState process_;
  XmlDocument context_;
  OperatorView view_{settings_, state_, process_, surroundings_.stopRequested};
};

}  // namespace ods

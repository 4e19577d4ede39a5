#include "server/modMain.h"

#include <charconv>
#include <iostream>
#include <memory>
#include <system_error>
#include <utility>
#include <vector>

#include "common/Attempt.h"
#include "common/Conversions.h"
#include "common/Error.h"
#include "common/Files.h"
#include "common/Text.h"
#include "platform/ado/Ado.h"
#include "platform/queue/QueueChoice.h"
#include "platform/system/COpSysInfo.h"
#include "platform/system/DefaultFolders.h"
#include "platform/system/Folders.h"
#include "platform/system/System.h"
#include "server/Parameters.h"
#include "server/Product.h"
#include "server/modCommandLine.h"
#include "server/modConfiguration.h"
#include "server/modLoop.h"

namespace ods {

namespace {

constexpr std::int32_t kMaxLogBytes = 100000;

constexpr const char* kNothingToConfigure =
    "odbc-data-server: The options dialog is not shown: the parameter \"hidden\" is given, too. Leave it out to "
    "configure the server with mode=config.";

/// A parameter, "" when it is missing.
std::string Parameter(const Dictionary& parameters, ParameterName name) {
  return SafeStr(parameters.Item(name.Text()));
}

/// The parameters of the command line and of the parameter file, and what is wrong with them.
struct GivenParameters {
  std::shared_ptr<Dictionary> values;
  std::vector<std::string> warnings;
};

GivenParameters ReadGivenParameters(const std::string& commandLine) {
  GivenParameters given = {ParseCommandLine(commandLine), {}};
  const auto warnFrom = [&given](std::size_t first, const std::string& place) {
    const std::vector<std::string> unknown = UnknownParameters(*given.values);
    for (std::size_t i = first; i < unknown.size(); ++i) {
      given.warnings.push_back("Unknown parameter \"" + unknown[i] + "\" " + place + ".");
    }
  };
  warnFrom(0, "on the command line");
  const std::string file = Parameter(*given.values, "parameterfile");
  if (file.empty()) return given;
  ReadParameterFile(file, *given.values);
  warnFrom(given.warnings.size(), "in the parameter file " + file);
  return given;
}

/// A parameter that is a number of seconds, `standard` when it is missing. Raises error 1000 for any other text.
int Seconds(const Dictionary& parameters, ParameterName name, int least, int standard) {
  constexpr int kMost = 86400;
  const std::string text = Parameter(parameters, name);
  if (text.empty()) return standard;
  int seconds = -1;
  const char* const end = text.data() + text.size();
  const auto [read, error] = std::from_chars(text.data(), end, seconds);
  if (error != std::errc() || read != end || seconds < least || seconds > kMost) {
    throw Error(error_number::kOwn, "The parameter " + std::string(name.Text()) + " is no number of seconds from " +
                                        std::to_string(least) + " to " + std::to_string(kMost) + ": " + text);
  }
  return seconds;
}

std::string OrDefault(const std::string& text, const std::string& defaultText) {
  return text.empty() ? defaultText : text;
}

}  // namespace

void RegisterComponents(ComponentRegistry& components) {
  components.Register("Halvik.Queue", CreateQueue);
  components.Register("ADODB.Connection", CreateOdbcConnection);
}

Server::Server(ServerSurroundings surroundings)
    : surroundings_(std::move(surroundings)), exeFolder_(FolderOf(surroundings_.executablePath)) {
  process_.ui = &surroundings_.ui;
  process_.tracer = &surroundings_.tracer;
  process_.components = &surroundings_.components;
  process_.programFolder = exeFolder_;
  process_.context = &context_;
}

void Server::Run(const std::string& commandLine) {
  try {
    StartUp(commandLine);
  } catch (const std::exception& error) {
    surroundings_.tracer.Trace(std::string("Error: ") + error.what(), -1, severity::kError);
    surroundings_.ui.UnloadMainWindow();
    Trace("Stop");
    throw;
  }
  Trace("Stop");
  surroundings_.ui.WaitUntilClosed();
}

void Server::StartUp(const std::string& commandLine) {
  state_.startTime = LocalNow();
  // Whether somebody is there to read of a failure of what follows.
  ReadAttendance(*ParseCommandLine(commandLine));
  const auto [parameters, warnings] = ReadGivenParameters(commandLine);
  ReadParameters(*parameters);
  ReadFolders(*parameters);
  OpenLog();
  const std::string exeName = surroundings_.executablePath.substr(exeFolder_.empty() ? 0 : exeFolder_.size() + 1);
  Trace("Starting " + exeName + " version " + LoggedVersion());
  Trace("Parse command line: " + WithoutPasswords(commandLine));
  Trace("Platform: " + COpSysInfo().Description());
  for (const std::string& warning : warnings) {
    surroundings_.tracer.Trace(WithoutPasswords(warning), -1, severity::kWarning);
  }
  OpenWindows();
  LoadContext(*parameters);
  LoadIniFile();
  PrepareQueue("Incoming Queue: ", "inqueue", kRequestsFolder, *parameters, settings_.inqueue);
  PrepareQueue("Outgoing Queue: ", "outqueue", kResultsFolder, *parameters, settings_.outqueue);
  RequireTwoQueues();
  StatusSignals signals(surroundings_.tracer, settings_.messagefile, settings_.alivefile);
  signals.WriteStateTo(settings_.statefile);
  signals.AliveHeartbeat();
  RunMode(signals);
}

void Server::ReadAttendance(const Dictionary& parameters) {
  settings_.hidden = parameters.Exists(ParameterName("hidden").Text());
  settings_.exact = parameters.Exists(ParameterName("exact").Text());
  settings_.Unattended = settings_.hidden || !Parameter(parameters, "runningmutex").empty();
}

void Server::ReadParameters(const Dictionary& parameters) {
  settings_.instance = OrDefault(Parameter(parameters, "instance"), std::to_string(CurrentProcessId()));
  settings_.runningmutex = Parameter(parameters, "runningmutex");
  settings_.parentmutex = Parameter(parameters, "parentmutex");
  settings_.messagefile = Parameter(parameters, "messagefile");
  settings_.alivefile = Parameter(parameters, "alivefile");
  settings_.statefile = Parameter(parameters, "statefile");
  settings_.config = Parameter(parameters, "config");
  ReadAttendance(parameters);
  settings_.mode = OrDefault(ToLower(Parameter(parameters, "mode")), "run");
  settings_.connecttimeout = Seconds(parameters, "connecttimeout", 0, settings_.connecttimeout);
  settings_.querytimeout = Seconds(parameters, "querytimeout", 0, settings_.querytimeout);
  settings_.reconnect = Seconds(parameters, "reconnect", 1, settings_.reconnect);
  process_.exact = settings_.exact;
  process_.limits.connectSeconds = settings_.connecttimeout;
  process_.limits.statementSeconds = settings_.querytimeout;
}

void Server::ReadFolders(const Dictionary& parameters) {
  defaults_ = FindDefaultFolders(exeFolder_);
  const std::string dataFolder = Parameter(parameters, "datafolder");
  settings_.datafolder = OrDefault(dataFolder, defaults_.data);
  const bool isConfigElsewhere = dataFolder.empty() && !defaults_.config.empty();
  settings_.configfolder = OrDefault(Parameter(parameters, "configfolder"),
                                     isConfigElsewhere ? defaults_.config : JoinPath(settings_.datafolder, "config"));
  // After the default: below a relative data folder the default is relative too, and gets it twice.
  if (!IsAbsolutePath(settings_.configfolder)) {
    settings_.configfolder = JoinPath(settings_.datafolder, settings_.configfolder);
  }
  process_.configFolder = settings_.configfolder;
}

void Server::OpenLog() {
  auto log = std::make_unique<Log>();
  log->postfix = "-DBSRV-%PID%.log";
  log->folder = LogFolder(settings_.datafolder);
  log->maxsize = kMaxLogBytes;
  MkDirRecurse(log->folder);
  log->LogSysEntry();
  surroundings_.tracer.SetLog(std::move(log));
}

void Server::OpenWindows() {
  if (settings_.hidden || windowsTried_) return;
  windowsTried_ = true;
  if (surroundings_.openWindows) surroundings_.openWindows(view_);
}

void Server::ShowFailure(const std::string& text) {
  if (settings_.Unattended) return;
  // A start may fail before there are windows. Where none can be had, standard error has told it all.
  if (Attempt([&] { OpenWindows(); })) return;
  surroundings_.ui.MessageBox("", text, BoxStyle::kExclamation);
}

/// A context document that does not load is no error: whoever needs it finds nothing in it.
void Server::LoadContext(const Dictionary& parameters) {
  settings_.context = OrDefault(Parameter(parameters, "context"), JoinPath(exeFolder_, "context.xml"));
  Trace("Context file: " + settings_.context);
  context_.Load(settings_.context);
}

void Server::LoadIniFile() {
  if (settings_.config.empty()) {
    MkDirRecurse(settings_.configfolder);
    settings_.config = JoinPath(settings_.configfolder, "dataserver.xml");
  }
  Trace("Ini file: " + settings_.config);
  LoadConfiguration(settings_.config, settings_.configuration);
}

void Server::PrepareQueue(const char* caption, ParameterName parameter, const char* defaultName,
                          const Dictionary& parameters, std::string& folder) const {
  folder = Parameter(parameters, parameter);
  if (folder.empty()) folder = JoinPath(QueueFolder(defaults_, settings_.instance), defaultName);
  Trace(caption + WithoutPasswords(folder));
  const QueueAddress address = ParseQueueAddress(folder);
  if (!address.broker) MkDirRecurse(address.folder);
}

/// A server that answers into its own requests would take each answer for a request, without end.
void Server::RequireTwoQueues() const {
  const QueueAddress in = ParseQueueAddress(settings_.inqueue);
  const QueueAddress out = ParseQueueAddress(settings_.outqueue);
  if (!IsSameQueue(in, out)) return;
  const std::string kind = in.broker ? "queue" : "folder";
  throw Error(error_number::kOwn, "The parameters inqueue (\"" + in.Shown() + "\") and outqueue (\"" + out.Shown() +
                                      "\") name the same " + kind + ": requests and answers need a " + kind + " each.");
}

void Server::RunMode(StatusSignals& signals) {
  Trace("Mode: " + settings_.mode);
  if (settings_.mode == "config") {
    if (settings_.hidden) std::cerr << kNothingToConfigure << std::endl;
    surroundings_.ui.ShowOptionsDialog();
  } else if (settings_.mode == "run") {
    RunServer(signals);
  } else {
    if (!settings_.Unattended) {
      surroundings_.ui.MessageBox(kProductName, "Unknown mode specified as command line parameter: " + settings_.mode,
                                  BoxStyle::kExclamation);
    }
    Trace("Unknown mode: " + settings_.mode);
  }
}

void Server::RunServer(StatusSignals& signals) {
  state_.RunFlag = true;
  state_.pollingEnabled = true;
  state_.databaseConnectPending = true;
  state_.queueConnectPending = true;
  state_.buttonState = button_state::kStop;
  // What comes first: the window shows it from its first moment.
  state_.statusText =
      settings_.configuration.ConnectionString.empty() ? status_text::kConnectToQueue : status_text::kConnectToDatabase;
  if (!settings_.hidden) surroundings_.ui.ShowMainWindow();
  if (settings_.configuration.ConnectionString.empty()) TellNoDataSource(signals);
  surroundings_.ui.LetEventsRun();
  RunLoop(signals);
  if (!settings_.hidden) surroundings_.ui.UnloadMainWindow();
}

void Server::TellNoDataSource(StatusSignals& signals) {
  state_.databaseConnectPending = false;
  if (settings_.Unattended) {
    signals.ReportStatus("Message", "UnableToConnectDB", "Unable to connect to database.");
    return;
  }
  surroundings_.ui.ShowOptionsDialog();
  surroundings_.ui.MessageBox(kProductName, "Please select an ODBC data source.", BoxStyle::kInformation);
}

void Server::RunLoop(StatusSignals& signals) {
  std::unique_ptr<NamedMutex> runningMutex;
  if (!settings_.runningmutex.empty()) {
    Trace("Create mutex: " + settings_.runningmutex);
    runningMutex = CreateInstanceMutex(settings_.runningmutex);
    Trace("Mutex created: " + settings_.runningmutex);
  }
  Trace("Enter main loop");
  MainLoop({settings_, state_, process_, signals, surroundings_.stopRequested});
  Trace("Signal that data server is stopped");
  DestroyInstanceMutex(runningMutex);
}

}  // namespace ods

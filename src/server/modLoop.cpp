#include "server/modLoop.h"

#include <chrono>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "common/Attempt.h"
#include "common/ComponentRegistry.h"
#include "common/Conversions.h"
#include "common/Error.h"
#include "common/TextPieces.h"
#include "common/ToldOnce.h"
#include "database/Response.h"
#include "platform/ado/Ado.h"
#include "platform/queue/BrokerUri.h"
#include "platform/queue/Queue.h"
#include "platform/system/NamedMutex.h"
#include "platform/system/System.h"
#include "server/Product.h"
#include "server/modConfiguration.h"
#include "server/modConnect.h"
#include "server/modReconnect.h"

namespace ods {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int kPollMilliseconds = 100;
constexpr int kPauseMilliseconds = 100;

double SecondsSince(SteadyClock::time_point start) {
  return std::chrono::duration<double>(SteadyClock::now() - start).count();
}

class Loop {
 public:
  explicit Loop(const LoopContext& context);
  ~Loop();
  Loop(const Loop&) = delete;
  Loop& operator=(const Loop&) = delete;
  Loop(Loop&&) = delete;
  Loop& operator=(Loop&&) = delete;

  void Run();

 private:
  void Trace(std::string_view text) const { process_.tracer->Trace(text); }
  void TraceError(std::string_view text) const { process_.tracer->Trace(text, -1, severity::kError); }
  void TraceConditions(std::string_view which) const;
  [[nodiscard]] bool ParentMutexExists() const;
  [[nodiscard]] bool MustStop();
  void Round();

  void ReloadWhenChanged();
  void Reload();
  void SetReconnect();
  void TellState();
  void ReportNoDatabase(const std::optional<Error>& failure);
  void ConnectToDatabase(bool again = false);
  void TellNoConnection(const Error& failure);
  [[nodiscard]] bool MustGiveUpDriver();
  [[nodiscard]] bool DropLostConnection();
  [[nodiscard]] bool ConnectToQueues();
  [[nodiscard]] std::shared_ptr<Queue> OpenQueue(const std::string& folder, bool trace);
  [[nodiscard]] bool MustGiveUpBroker();
  void TraceQueueFailure(const std::string& text);
  void StayStopped();
  void LetOthersRun();
  void GiveBackMemory();
  void Pause();

  [[nodiscard]] bool CanSend();
  [[nodiscard]] std::optional<std::string> Poll();
  void AnswerMessage(const std::string& id);
  [[nodiscard]] std::string ReceiveAndDispatch(XmlDocument& response);
  [[nodiscard]] TextPieces StampedText(XmlDocument& response);
  [[nodiscard]] std::string ErrorDocumentText(const Error& error) const;
  [[nodiscard]] bool SendAnswer(const std::string& id, TextPieces text);
  [[nodiscard]] std::optional<Error> Send(const std::string& id, TextPieces text);
  void TraceSendFailure(const std::string& id, const Error& failure);

  const LoopContext& context_;
  Settings& settings_;
  ServerState& state_;
  ProcessState& process_;
  Reconnect reconnect_;
  std::string connectFailureText_;                   ///< of the last try; "" when it succeeded
  ToldOnce connectFailure_;                          ///< why there is no connection to the database
  std::optional<SteadyClock::time_point> stopSeen_;  ///< while a driver was waited for
  bool gaveUpDriver_ = false;
  Database database_;
  std::shared_ptr<Queue> incoming_;
  std::shared_ptr<Queue> outgoing_;
  bool polled_ = false;                     ///< the round before polled
  SteadyClock::time_point gaveBack_;        ///< when memory was given back
  std::int32_t gaveBackAfter_ = 0;          ///< the request count then
  ToldOnce queueFailure_;                   ///< the failure that the queues are in
  ToldOnce reload_;                         ///< the reload that is tried, by the stamp of the file
  ToldOnce reloadFailure_;                  ///< the failure of that reload
  bool sendingFails_ = false;               ///< the last answer could not be sent
  std::map<std::string, ToldOnce> unsent_;  ///< why an answer could not be sent, by message id
};

Loop::Loop(const LoopContext& context)
    : context_(context),
      settings_(context.settings),
      state_(context.state),
      process_(context.process),
      reconnect_(context.settings.reconnect) {
  process_.limits.giveUp = [this] { return MustGiveUpDriver(); };
}

Loop::~Loop() {
  database_ = Database();  // closing it may take a while, and asks this loop meanwhile
  process_.limits.giveUp = nullptr;
}

void Loop::Run() {
  Trace("In main loop");
  TraceConditions("Start");
  context_.signals.AliveHeartbeat();
  process_.ui->LetEventsRun();
  while (!gaveUpDriver_ && !MustStop()) Round();
  TraceConditions("Stop");
  state_.statusText = status_text::kStopped;
  Trace("Exit main loop");
}

bool Loop::ParentMutexExists() const { return !settings_.parentmutex.empty() && MutexExists(settings_.parentmutex); }

void Loop::TraceConditions(std::string_view which) const {
  Trace(std::string(which) + " conditions: run=" + SafeStr(state_.RunFlag) + ", parentmutex(\"" +
        settings_.parentmutex + "\")=" + SafeStr(ParentMutexExists()));
}

bool Loop::MustStop() {
  if (context_.stopRequested && context_.stopRequested()) state_.RunFlag = false;
  return !state_.RunFlag || (!settings_.parentmutex.empty() && !ParentMutexExists());
}

void Loop::Round() {
  ReloadWhenChanged();
  if (ExcelWorkbookChanged(database_) && !settings_.configuration.ConnectionString.empty()) SetReconnect();
  if (state_.databaseConnectPending) {
    ConnectToDatabase();
  } else if (reconnect_.IsDue(SteadyClock::now())) {
    ConnectToDatabase(true);
  }
  if (state_.queueConnectPending && !ConnectToQueues()) return Pause();
  if (!state_.pollingEnabled) return StayStopped();
  if (!CanSend()) return Pause();
  const std::optional<std::string> id = Poll();
  if (!id) return Pause();
  if (!id->empty()) return AnswerMessage(*id);
  LetOthersRun();
}

void Loop::ReloadWhenChanged() {
  if (ConfigurationChanged(settings_.config, settings_.configuration)) Reload();
}

/// A file that cannot be read now leaves the settings as they are and is tried again every round.
void Loop::Reload() {
  if (reload_.IsNew(std::to_string(FileModificationStamp(settings_.config)))) {
    reloadFailure_.Clear();
    Trace("Reload ini-file from: " + FormatDate(FileModificationTime(settings_.config)));
  }
  if (const auto failure = Attempt([&] { LoadConfiguration(settings_.config, settings_.configuration); })) {
    if (reloadFailure_.IsNew(ErrorText(*failure))) TraceError(ErrorText(*failure));
    return;
  }
  reload_.Clear();
  if (!settings_.configuration.ConnectionString.empty()) {
    state_.pollingEnabled = true;
    SetReconnect();
    return;
  }
  state_.pollingEnabled = false;
  state_.databaseConnectPending = false;
  reconnect_.Settled();
  state_.queueConnectPending = false;
  state_.buttonState = button_state::kStart;
  ReportNoDatabase(std::nullopt);
}

void Loop::SetReconnect() {
  state_.databaseConnectPending = true;
  state_.queueConnectPending = true;
  queueFailure_.Clear();
}

void Loop::TellState() {
  const bool open = database_.session != nullptr;
  const bool lost = open && database_.session->connection->IsLost();
  const std::string_view connection = lost   ? connection_state::kLost
                                      : open ? connection_state::kOpen
                                             : connection_state::kNone;
  context_.signals.TellState({.requests = state_.requestCount,
                              .connection = std::string(connection),
                              .failure = open ? "" : connectFailureText_});
}

/// Tells whoever watches the server, a controller or a person, that there is no database.
void Loop::ReportNoDatabase(const std::optional<Error>& failure) {
  if (settings_.Unattended) {
    context_.signals.ReportStatus("Message", "UnableToConnectDB", "Unable to connect to database.");
    return;
  }
  std::string text =
      "Error connecting to the database.\n"
      "The Options dialog will now appear. Please specify a new database connection or check the existing one.\n"
      "Error Information:\n"
      "Connection string is " +
      settings_.configuration.ConnectionString;
  if (failure) {
    text += "\n" + std::to_string(failure->Number()) + " (0x" + ErrorNumberHex(failure->Number()) + ")\n" +
            failure->Description();
  }
  process_.ui->MessageBox(kProductName, text, BoxStyle::kExclamation);
  process_.ui->ShowOptionsDialog();
}

/// `again` when the last try failed, and it is told already what is tried.
void Loop::ConnectToDatabase(bool again) {
  state_.databaseConnectPending = false;
  state_.statusText = status_text::kConnectToDatabase;
  // The old connection goes first: a failure leaves none, and some drivers allow one connection only.
  database_ = Database();
  const auto failure = Attempt([&] {
    const LongWork shown(*process_.ui);
    database_ = ConnectDatabase(process_, settings_.configuration.ConnectionString, again);
  });
  connectFailureText_ = failure ? ErrorText(*failure) : "";
  if (!gaveUpDriver_) TellState();
  if (!failure) {
    reconnect_.Settled();
    connectFailure_.Clear();
  } else if (!gaveUpDriver_) {
    TellNoConnection(*failure);
    reconnect_.Failed(SteadyClock::now());
  }
}

/// A server that tries again by itself tells each failure once, and asks nobody.
void Loop::TellNoConnection(const Error& failure) {
  const bool first = !connectFailure_.Stands();
  const std::string text = "Error connecting to database. " + ErrorText(failure);
  if (!reconnect_.IsWanted()) {
    TraceError(text);
    ReportNoDatabase(failure);
    return;
  }
  if (connectFailure_.IsNew(text)) TraceError(text);
  if (first && settings_.Unattended) ReportNoDatabase(failure);
}

/// Runs while a driver is waited for. A stop gives it time to come back: a moment when it comes from outside or nobody
/// waits for an answer, else what a request takes.
bool Loop::MustGiveUpDriver() {
  constexpr double kMoment = 0.4;
  constexpr double kRequest = 5;
  process_.ui->LetEventsRun();
  context_.signals.AliveHeartbeat();
  if (!MustStop()) return false;
  if (!stopSeen_) stopSeen_ = SteadyClock::now();
  const bool answers = state_.statusText == status_text::kProcessing;
  const bool fromOutside = context_.stopRequested && context_.stopRequested();
  gaveUpDriver_ = SecondsSince(*stopSeen_) >= (answers && !fromOutside ? kRequest : kMoment);
  return gaveUpDriver_;
}

/// True when a connection was lost and is dropped. Without `reconnect` only one whose driver is stuck is: the errors of
/// any other tell what there is to tell.
bool Loop::DropLostConnection() {
  if (!database_.session) return false;
  const Connection& connection = *database_.session->connection;
  const bool stuck = connection.IsStuck();
  if (!stuck && !(reconnect_.IsWanted() && connection.IsLost())) return false;
  TraceError(stuck ? "The database driver does not come back. The connection is given up."
                   : "The connection to the database is lost.");
  database_ = Database();
  return true;
}

/// A failure is traced when it is a new one; the connect stays pending, and the next rounds try again silently.
bool Loop::ConnectToQueues() {
  const bool first = !queueFailure_.Stands();
  state_.statusText = status_text::kConnectToQueue;
  if (first) Trace("Connect to Queue");
  incoming_.reset();
  outgoing_.reset();
  const auto failure = Attempt([&] {
    std::shared_ptr<Queue> incoming = OpenQueue(settings_.inqueue, first);
    outgoing_ = OpenQueue(settings_.outqueue, first);
    incoming_ = std::move(incoming);
  });
  if (failure) {
    TraceQueueFailure("Error connecting to queue. " + ErrorText(*failure));
    return false;
  }
  state_.queueConnectPending = false;
  return true;
}

std::shared_ptr<Queue> Loop::OpenQueue(const std::string& folder, bool trace) {
  if (trace) Trace("Connect to queue \"" + WithoutPasswords(folder) + "\"");
  auto queue = CreateObjectChecked<Queue>(*process_.components, "Halvik.Queue");
  queue->WhileWaiting([this] { return MustGiveUpBroker(); });
  queue->SetFolder(folder);
  queue->Create();
  return queue;
}

/// Runs while a broker is waited for. A stop gives it a moment.
bool Loop::MustGiveUpBroker() {
  constexpr double kMoment = 0.4;
  process_.ui->LetEventsRun();
  context_.signals.AliveHeartbeat();
  if (!MustStop()) return false;
  if (!stopSeen_) stopSeen_ = SteadyClock::now();
  return SecondsSince(*stopSeen_) >= kMoment;
}

void Loop::TraceQueueFailure(const std::string& text) {
  if (queueFailure_.IsNew(text)) TraceError(text);
}

void Loop::StayStopped() {
  if (state_.statusText != status_text::kStopped) {
    state_.statusText = status_text::kStopped;
    state_.buttonState = button_state::kStart;
  }
  if (polled_) Trace("Stop Polling");
  polled_ = false;
  Pause();
}

void Loop::LetOthersRun() {
  process_.ui->LetEventsRun();
  context_.signals.AliveHeartbeat();
  TellState();
  GiveBackMemory();
}

/// Once a second at most, and only after work: without it a single large request would be felt for as long as the
/// process lives.
void Loop::GiveBackMemory() {
  constexpr double kSeconds = 1;
  if (gaveBackAfter_ == state_.requestCount || SecondsSince(gaveBack_) < kSeconds) return;
  GiveBackFreeMemory();
  gaveBack_ = SteadyClock::now();
  gaveBackAfter_ = state_.requestCount;
}

void Loop::Pause() {
  SleepMilliseconds(kPauseMilliseconds);
  LetOthersRun();
}

/// False while not the smallest answer can be sent: then no message is taken, and nothing asked of the database in
/// vain.
bool Loop::CanSend() {
  if (sendingFails_) sendingFails_ = !outgoing_->CanSend();
  return !sendingFails_;
}

/// The id of a message, "" when none is waiting, nothing when the queue failed. The next round polls the same queue
/// object again: it knows which message it must not give twice.
std::optional<std::string> Loop::Poll() {
  if (state_.statusText != status_text::kRunning) {
    state_.statusText = status_text::kRunning;
    state_.buttonState = button_state::kStop;
  }
  if (!polled_) Trace("Start Polling");
  polled_ = true;
  std::string id;
  if (const auto failure = Attempt([&] { id = incoming_->Poll("", kPollMilliseconds); })) {
    TraceQueueFailure("Error polling queue. " + ErrorText(*failure));
    return std::nullopt;
  }
  if (queueFailure_.Stands()) Trace("The queue is there again.");
  queueFailure_.Clear();
  return id;
}

void Loop::AnswerMessage(const std::string& id) {
  const SteadyClock::time_point start = SteadyClock::now();
  if (state_.requestCount == std::numeric_limits<std::int32_t>::max()) {
    throw Error(error_number::kOverflow, "Overflow of the request count");
  }
  ++state_.requestCount;
  XmlDocument response;
  const std::string type = ReceiveAndDispatch(response);
  if (gaveUpDriver_) {
    Trace("Message " + id + " is left for the next server: the database driver did not come back before the stop.");
    return;
  }
  if (SendAnswer(id, StampedText(response))) {
    process_.tracer->Trace(type + id, SecondsSince(start));
  } else {
    --state_.requestCount;  // it will be received again
  }
  LetOthersRun();
}

/// Fills the response, whatever happens, and gives the type of the message.
std::string Loop::ReceiveAndDispatch(XmlDocument& response) {
  XmlDocument request;
  std::string type;
  const auto unreadable = Attempt([&] {
    request.LoadXML(incoming_->Package());
    type = GetNodeText(request, "/XML/Type");
  });
  state_.statusText = status_text::kProcessing;
  if (unreadable) {
    // The sender's fault, not a state of the server that a restart could mend.
    FillErrorDocument(response, *unreadable);
    return type;
  }
  const auto dispatch = [&] {
    DispatchRequest(type, request, response, database_.session.get(), context_.findHandler);
  };
  auto failure = Attempt(dispatch);
  const bool stuck = database_.session && database_.session->connection->IsStuck();
  if (failure) TellState();  // before the report, of which the reader wants to know what it means
  if (DropLostConnection()) {
    // It only reads, so it can be run again; but the time of one that the driver held up is over.
    if (stuck || !reconnect_.IsWanted()) {
      reconnect_.Failed(SteadyClock::now());
    } else {
      ConnectToDatabase();
      response = XmlDocument();
      failure = Attempt(dispatch);
      if (DropLostConnection()) reconnect_.Failed(SteadyClock::now());
    }
  }
  if (gaveUpDriver_) return type;
  if (failure) {
    FillErrorDocument(response, *failure);
    context_.signals.ReportStatus("Restart", "ErrorProcessingMessage",
                                  "Request a restart of dataserver in order to recover error state. " +
                                      std::to_string(failure->Number()) + " " + failure->Description());
  }
  return type;
}

/// The text of the response with the id of this server in it. One that is too large becomes an error document.
TextPieces Loop::StampedText(XmlDocument& response) {
  if (process_.ServerSessionId.empty()) process_.ServerSessionId = NewGuidText();
  TextPieces text;
  const auto failure = Attempt([&] {
    StampResponse(response, process_.ServerSessionId);
    text = response.TakeXml();
    RequireResponseBytes(text.Size());
  });
  return failure ? ErrorDocumentText(*failure) : std::move(text);
}

/// The text of an error document with the id of this server in it.
std::string Loop::ErrorDocumentText(const Error& error) const {
  XmlDocument document;
  FillErrorDocument(document, error);
  StampResponse(document, process_.ServerSessionId);
  return document.Xml();
}

/// Sends the answer, or an error document where there is no room for the answer. False when it could not be sent: the
/// message waits again then, and is answered anew after others had their turn.
bool Loop::SendAnswer(const std::string& id, TextPieces text) {
  const std::size_t size = text.Size();
  auto failure = Send(id, std::move(text));
  if (failure && failure->Number() == error_number::kDiskFull) {
    const std::string smaller =
        ErrorDocumentText({failure->Number(), "There is no room for the answer of " + std::to_string(size) +
                                                  " bytes. Ask for fewer rows or fields, or ask again later."});
    if (smaller.size() < size) failure = Send(id, smaller);
  }
  // An answer of that id waits already, or nobody can be waiting under such an id, or who waited is gone: nothing more
  // can be done.
  const bool hopeless = failure && (failure->Number() == error_number::kFileExists ||
                                    failure->Number() == error_number::kFileNotFound || !outgoing_->CanCarry(id));
  sendingFails_ = failure && !hopeless;
  if (sendingFails_) {
    if (const auto kept = Attempt([&] { incoming_->PutBack(); })) TraceSendFailure(id, *kept);
    return false;
  }
  unsent_.erase(id);
  if (const auto unanswered = Attempt([&] { incoming_->Answered(); })) {
    TraceError("Error removing message " + id + ". " + ErrorText(*unanswered));
  }
  return true;
}

std::optional<Error> Loop::Send(const std::string& id, TextPieces text) {
  auto failure = Attempt([&] {
    if (incoming_->Reply(text)) return;
    outgoing_->SetPackage(std::move(text));
    outgoing_->Send(id);
  });
  if (failure) TraceSendFailure(id, *failure);
  return failure;
}

/// Once for each message, until its failure is another one.
void Loop::TraceSendFailure(const std::string& id, const Error& failure) {
  constexpr std::size_t kMostKept = 1000;
  const std::string text = "Error sending answer to message " + id + ". " + ErrorText(failure);
  if (unsent_.size() >= kMostKept && !unsent_.contains(id)) unsent_.clear();
  if (unsent_[id].IsNew(text)) TraceError(text);
}

}  // namespace

void MainLoop(const LoopContext& context) { Loop(context).Run(); }

}  // namespace ods

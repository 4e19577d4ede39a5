// The processes that answer requests, and what they cost beside the pages.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Comparison.h"
#include "RunningServer.h"
#include "database/DataSession.h"

namespace ods::bench {

inline constexpr const char* kPing = "<XML><Type>Ping</Type></XML>";

/// The path of a program that is built with this one.
[[nodiscard]] std::string Program(const char* name);
[[nodiscard]] std::vector<std::string> ServerParameters(bool exact);
[[nodiscard]] std::unique_ptr<QueueProcess> StartServer(const std::string& connection, bool exact);
/// `script` is the path of the peer.
[[nodiscard]] std::unique_ptr<QueueProcess> StartPeer(const std::string& script);

/// One process that answers requests, a server or the script. It has been started some times, to know how long that
/// takes, and has answered a `Ping`.
struct Answerer {
  Answerer(std::string product, std::string name, std::unique_ptr<QueueProcess> started);

  std::unique_ptr<QueueProcess> process;
  std::unique_ptr<QueueReader> reader;
  ProcessResult result;

 private:
  void TakeStarts();
};

/// Asks all in turns for a `Ping`.
void Ping(const std::vector<Answerer*>& answerers);

/// What the largest responses raise the peak of a server by that has just started; tables are made by `session`.
void MeasureLargeResponses(const std::string& product, const std::string& connection, const DataSession& session,
                           std::vector<LargeResult>& results);

/// What servers have resident after many requests for a `Ping`, and for pages of the table of `rows` rows.
void MeasureLongRuns(const std::string& product, const std::string& connection, int rows, int requests,
                     std::vector<LongRunResult>& results);

/// A `Ping` and a page of the table of `rows` rows with a full log and with a small one, in turns, each so often.
[[nodiscard]] std::vector<LogResult> MeasureLogs(const std::string& connection, int rows, int times);

}  // namespace ods::bench

#include "Readers.h"

#include <chrono>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

#include "ProcessFigures.h"
#include "database/DataSession.h"
#include "platform/queue/QueueChoice.h"
#include "platform/system/System.h"
#include "platform/xml/Xml.h"
#include "server/modDispatch.h"

namespace ods::bench {

namespace {

using Clock = std::chrono::steady_clock;
constexpr double kMicroseconds = 1e6;

double MicrosecondsSince(Clock::time_point start) {
  return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

}  // namespace

LimitReader::LimitReader(const std::string& program, const std::string& connection, std::vector<std::string> runner) {
  int toProgram[2];
  int fromProgram[2];
  if (pipe2(toProgram, O_CLOEXEC) != 0 || pipe2(fromProgram, O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, toProgram[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, fromProgram[1], STDOUT_FILENO);
  runner.push_back(program);
  std::vector<char*> arguments;
  for (std::string& each : runner) arguments.push_back(each.data());
  arguments.push_back(nullptr);
  const bool started = posix_spawnp(&process_, arguments[0], &actions, nullptr, arguments.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&actions);
  close(toProgram[0]);
  close(fromProgram[1]);
  input_ = toProgram[1];
  output_ = fromProgram[0];
  if (!started) throw std::runtime_error("cannot start " + program);
  Write(connection);
}

LimitReader::~LimitReader() {
  close(input_);  // by which it ends
  close(output_);
  if (process_ > 0) waitpid(process_, nullptr, 0);
}

void LimitReader::Write(const std::string& line) const {
  const std::string text = line + "\n";
  if (write(input_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    throw std::runtime_error("the bare program has ended");
  }
}

std::string LimitReader::ReadLine() const {
  std::string line;
  while (!line.ends_with('\n')) {
    char buffer[256];
    const ssize_t size = read(output_, buffer, sizeof buffer);
    if (size <= 0) throw std::runtime_error("the bare program has ended");
    line.append(buffer, static_cast<std::size_t>(size));
  }
  return line;
}

void LimitReader::Read(std::size_t page, Series& series) {
  Write("run " + std::to_string(page));
  std::istringstream numbers(ReadLine());
  double elapsed = 0;
  double processor = 0;
  numbers >> rows_ >> elapsed >> processor;
  series.elapsed.push_back(elapsed);
  series.processor.push_back(processor);
}

void HandlerReader::Read(std::size_t page, Series& series) {
  const auto start = Clock::now();
  const double processor = ProcessorSeconds(getpid());
  XmlDocument response;
  const XmlDocument request(requests_.at(page));
  FindHandler(GetNodeText(request, "/XML/Type"), session_.exact != nullptr)(request, response, session_);
  response_ = response.Xml();
  series.elapsed.push_back(MicrosecondsSince(start));
  series.processor.push_back((ProcessorSeconds(getpid()) - processor) * kMicroseconds);
}

QueueReader::QueueReader(pid_t process, const std::string& requests, const std::string& results)
    : process_(process), client_(CreateMessageClient(requests, results, {})) {}

std::string QueueReader::Ask(const std::string& request) const {
  const std::string id = NewGuidText();
  client_->Send(id, request);
  auto answer = client_->Receive(id, std::chrono::seconds(30));
  if (!answer) throw std::runtime_error("no answer to " + request);
  return *std::move(answer);
}

void QueueReader::Read(std::size_t page, Series& series) {
  Finish();
  open_ = &series;
  processor_ = ProcessorSeconds(process_);
  const auto start = Clock::now();
  response_ = Ask(requests_.at(page));
  series.elapsed.push_back(MicrosecondsSince(start));
}

void QueueReader::Finish() {
  if (open_ == nullptr) return;
  open_->processor.push_back((ProcessorSeconds(process_) - processor_) * kMicroseconds);
  open_ = nullptr;
}

}  // namespace ods::bench

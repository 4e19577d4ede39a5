#include "Client.h"

#include <array>
#include <fstream>
#include <istream>
#include <ostream>

#include "common/Error.h"
#include "platform/queue/Queue.h"
#include "platform/system/System.h"
#include "platform/xml/Xml.h"

namespace ods {

namespace {

/// Everything up to the end; false when reading failed before it.
bool ReadAll(std::istream& stream, std::string& text) {
  std::array<char, 65536> part{};
  while (stream.read(part.data(), part.size()) || stream.gcount() > 0) {
    text.append(part.data(), static_cast<std::size_t>(stream.gcount()));
  }
  return stream.eof() && !stream.bad();
}

}  // namespace

std::string ReadRequest(const std::string& path, std::istream& standardInput) {
  std::string text;
  if (path.empty()) {
    if (!ReadAll(standardInput, text)) throw Error(error_number::kOwn, "Unable to read standard input.");
    return text;
  }
  std::ifstream file(path, std::ios::binary);
  if (!ReadAll(file, text)) throw Error(error_number::kOwn, "Unable to read the file \"" + path + "\".");
  return text;
}

int Run(const Exchange& exchange, const std::string& request, std::ostream& output, std::ostream& errors) {
  const auto queue = CreateFolderQueue();
  queue->SetFolder(exchange.requests);
  queue->Create();
  const std::string id = NewGuidText();
  queue->SetPackage(request);
  queue->Send(id);
  AnswerFolder answers(exchange.results);
  const auto answer = answers.Receive(id, exchange.timeout);
  if (!answer) {
    errors << "No answer came within " << static_cast<double>(exchange.timeout.count()) / 1000
           << " seconds. The request " << id << " was left in \"" << exchange.requests << "\".\n";
    return exit_status::kNoAnswer;
  }
  if (!(output << *answer << '\n').flush()) throw Error(error_number::kOwn, "Unable to write to standard output.");
  return IsErrorDocument(*answer) ? exit_status::kErrorAnswer : exit_status::kAnswered;
}

bool IsErrorDocument(const std::string& answer) {
  return static_cast<bool>(XmlDocument(answer).SelectSingleNode("/XML/Error"));
}

}  // namespace ods

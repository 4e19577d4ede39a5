// The ways of reading a page that are compared. Each reads one page when it is told to and says what that took.
#pragma once

#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

#include "Statement.h"
#include "platform/queue/MessageClient.h"

namespace ods {
struct DataSession;
}

namespace ods::bench {

/// What the pages of one kind took, in microseconds, one value a page.
struct Series {
  std::vector<double> elapsed;
  std::vector<double> processor;
};

class Reader {
 public:
  Reader() = default;
  virtual ~Reader() = default;
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  Reader(Reader&&) = delete;
  Reader& operator=(Reader&&) = delete;

  /// Reads the page of a number and notes what it took. Raises std::runtime_error where there is no answer.
  virtual void Read(std::size_t page, Series& series) = 0;
  /// To be called behind the last page.
  virtual void Finish() {}
};

/// The bare program `pages-limit`.
class LimitReader final : public Reader {
 public:
  /// `program` is run by the first of `runner`, where there is one, with its other words as arguments before.
  LimitReader(const std::string& program, const std::string& connection, std::vector<std::string> runner = {});
  ~LimitReader() override;
  LimitReader(const LimitReader&) = delete;
  LimitReader& operator=(const LimitReader&) = delete;
  LimitReader(LimitReader&&) = delete;
  LimitReader& operator=(LimitReader&&) = delete;

  void AddSession(const Statement& statement) { Write("session " + ToLine(statement)); }
  void AddStatement(std::size_t page, const Statement& statement) {
    Write("add " + std::to_string(page) + " " + ToLine(statement));
  }
  void Read(std::size_t page, Series& series) override;
  /// How many rows the page before had.
  [[nodiscard]] int Rows() const { return rows_; }

 private:
  void Write(const std::string& line) const;
  [[nodiscard]] std::string ReadLine() const;

  pid_t process_ = -1;
  int input_ = -1;   ///< of the program
  int output_ = -1;  ///< likewise
  int rows_ = 0;
};

/// The handler of a request in this process, from the text of the request to the text of the response.
class HandlerReader final : public Reader {
 public:
  /// `session` outlives the reader.
  HandlerReader(DataSession& session, std::vector<std::string> requests)
      : session_(session), requests_(std::move(requests)) {}
  void Read(std::size_t page, Series& series) override;
  [[nodiscard]] const std::string& Response() const { return response_; }

 private:
  DataSession& session_;
  std::vector<std::string> requests_;
  std::string response_;
};

/// A process behind two queue folders: from the sending of the request to the answer in hand. Its processor time is
/// that until the next page is asked for, since it has to clear up behind an answer.
class QueueReader final : public Reader {
 public:
  QueueReader(pid_t process, const std::string& requests, const std::string& results);
  /// The answer to a request. Raises std::runtime_error where there is none within half a minute.
  [[nodiscard]] std::string Ask(const std::string& request) const;
  void SetPages(std::vector<std::string> requests) { requests_ = std::move(requests); }
  void Read(std::size_t page, Series& series) override;
  void Finish() override;
  [[nodiscard]] const std::string& Response() const { return response_; }

 private:
  pid_t process_;
  std::unique_ptr<MessageClient> client_;
  std::vector<std::string> requests_;
  std::string response_;
  Series* open_ = nullptr;  ///< lacks its last processor time
  double processor_ = 0;    ///< at its beginning
};

}  // namespace ods::bench

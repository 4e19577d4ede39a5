// A data session as the server opens it, in this process, and pages asked of its handler.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "common/ComponentRegistry.h"
#include "doubles/RecordingUserInterface.h"
#include "exactwalk/Client.h"
#include "server/modConnect.h"
#include "support/TemporaryFolder.h"

namespace ods::test {

inline constexpr const char* kHexMark =
    "\x01"
    "hex ";

struct Page {
  std::vector<std::string> columns;  ///< identifiers
  std::vector<TextRow> rows;         ///< by column; what came with Encoding="hex" begins with `kHexMark`
  bool hasNext = false;
  bool hasPrevious = false;
  std::string first;
  std::string last;
  std::string navigated;  ///< how it was read
  std::string total;      ///< the number of rows, where it was asked for
};

class Pager {
 public:
  /// @param exact with exact paging
  Pager(const std::string& connectionString, bool exact);
  ~Pager();
  Pager(const Pager&) = delete;
  Pager& operator=(const Pager&) = delete;
  Pager(Pager&&) = delete;
  Pager& operator=(Pager&&) = delete;

  /// A page of `TableData`. `elements` is the request but for type, page size, navigation and positions; these are
  /// those of `from`. Raises std::runtime_error with the message when it is answered by an error or by what is no page.
  Page Ask(const std::string& elements, unsigned pageSize, const std::string& navigate, const Page& from);

  /// Adds a server-side view.
  void AddView(const std::string& id, const std::string& query);
  /// The statements that went to the driver since the last call or request, with the limit of rows that goes beside
  /// them.
  std::vector<std::string> TakeStatements();
  [[nodiscard]] bool IsExact() const { return process_.exact; }
  /// The request that was asked last.
  [[nodiscard]] const std::string& LastRequest() const { return lastRequest_; }

 private:
  TemporaryFolder folder_;
  RecordingUserInterface ui_;
  Tracer tracer_{ui_};
  ComponentRegistry components_;
  XmlDocument context_;
  ProcessState process_;
  std::shared_ptr<std::vector<std::string>> statements_ = std::make_shared<std::vector<std::string>>();
  Database database_;
  std::string lastRequest_;
};

}  // namespace ods::test

#include "exactwalk/Client.h"

#include <array>
#include <cmath>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <iterator>
#include <spawn.h>
#include <sqlite3.h>
#include <sstream>
#include <stdexcept>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "common/Conversions.h"
#include "common/Hex.h"
#include "support/TemporaryFolder.h"

extern char** environ;  // NOLINT(cppcoreguidelines-avoid-non-const-global-variables): POSIX has it so

namespace ods::test {
namespace {

// ---- SQLite ----

struct Closer {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};

class SqliteClient final : public DatabaseClient {
 public:
  explicit SqliteClient(const std::string& path) {
    sqlite3* handle = nullptr;
    const int result = sqlite3_open(path.c_str(), &handle);
    database_.reset(handle);
    Check(result);
    sqlite3_busy_timeout(handle, 5000);
    Run("PRAGMA journal_mode=MEMORY; PRAGMA synchronous=OFF;");
  }

  void Run(const std::string& script) override {
    Check(sqlite3_exec(database_.get(), script.c_str(), nullptr, nullptr, nullptr));
  }

  std::vector<TextRow> Read(const std::vector<std::string>& expressions, const std::string& rest) override {
    std::string sql = "SELECT ";
    for (const std::string& expression : expressions)
      sql += (&expression == expressions.data() ? "" : ", ") + expression;
    return RowsOf(sql + " " + rest);
  }

  std::vector<std::string> Show(const std::string& statement) override {
    std::vector<std::string> lines;
    for (const TextRow& row : RowsOf(statement)) {
      std::string& line = lines.emplace_back();
      for (const auto& cell : row) line += cell.value_or("NULL") + " ";
    }
    return lines;
  }

 private:
  std::vector<TextRow> RowsOf(const std::string& sql) {
    sqlite3_stmt* prepared = nullptr;
    Check(sqlite3_prepare_v2(database_.get(), sql.c_str(), -1, &prepared, nullptr), sql);
    const std::unique_ptr<sqlite3_stmt, Closer> statement(prepared);
    std::vector<TextRow> rows;
    int result = SQLITE_ROW;
    while ((result = sqlite3_step(prepared)) == SQLITE_ROW) {
      TextRow& row = rows.emplace_back();
      for (int i = 0; i < sqlite3_column_count(prepared); ++i) row.push_back(Text(prepared, i));
    }
    if (result != SQLITE_DONE) Check(result, sql);
    return rows;
  }
  static std::optional<std::string> Text(sqlite3_stmt* statement, int column) {
    switch (sqlite3_column_type(statement, column)) {
      case SQLITE_NULL:
        return std::nullopt;
      case SQLITE_INTEGER:
        return std::to_string(sqlite3_column_int64(statement, column));
      case SQLITE_FLOAT: {
        const double number = sqlite3_column_double(statement, column);
        if (std::isinf(number)) return number < 0 ? "-Infinity" : "Infinity";
        return FormatDouble(number);
      }
      case SQLITE_BLOB: {
        const auto* const bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(statement, column));
        const int size = sqlite3_column_bytes(statement, column);
        return kBytesMark + BytesToHex(Bytes(bytes, bytes + size));
      }
      default: {
        const auto* const text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
        return std::string(text, static_cast<std::size_t>(sqlite3_column_bytes(statement, column)));
      }
    }
  }
  void Check(int result, const std::string& sql = "") const {
    if (result != SQLITE_OK) throw std::runtime_error(sqlite3_errmsg(database_.get()) + (" " + sql));
  }

  std::unique_ptr<sqlite3, Closer> database_;
};

// ---- client programs ----

/// A program that reads statements from its standard input and writes a row a line, cells separated by tabs.
class ClientProgram final : public DatabaseClient {
 public:
  /// How a product's program is spoken to.
  struct Manner {
    std::vector<std::string> command;
    std::string preamble;   ///< statements that come first
    std::string hexBefore;  ///< SQL around an expression that gives the hexadecimal digits of its text in UTF-8,
    std::string hexAfter;   ///< "-" for null
  };
  explicit ClientProgram(Manner manner) : manner_(std::move(manner)) {}
  ~ClientProgram() override { End(); }
  ClientProgram(const ClientProgram&) = delete;
  ClientProgram& operator=(const ClientProgram&) = delete;
  ClientProgram(ClientProgram&&) = delete;
  ClientProgram& operator=(ClientProgram&&) = delete;

  void Run(const std::string& script) override { (void)Lines(script); }
  std::vector<std::string> Show(const std::string& statement) override { return Lines(statement + ";\n"); }

  std::vector<TextRow> Read(const std::vector<std::string>& expressions, const std::string& rest) override {
    std::string sql = "SELECT ";
    for (const std::string& expression : expressions) {
      sql += (&expression == expressions.data() ? "" : ", ") + manner_.hexBefore + expression + manner_.hexAfter;
    }
    std::vector<TextRow> rows;
    for (const std::string& line : Lines(sql + " " + rest + ";\n")) {
      TextRow& row = rows.emplace_back();
      std::size_t start = 0;
      while (true) {
        const std::size_t tab = line.find('\t', start);
        row.push_back(Cell(line.substr(start, tab - start)));
        if (tab == std::string::npos) break;
        start = tab + 1;
      }
    }
    return rows;
  }

 private:
  static std::optional<std::string> Cell(const std::string& digits) {
    if (digits == "-") return std::nullopt;
    const Bytes bytes = HexToBytes(digits);
    return std::string(bytes.begin(), bytes.end());
  }

  std::vector<std::string> Lines(const std::string& script) {
    if (program_ < 0) {
      Start();
      Write(manner_.preamble);
    }
    const std::string marker = "the end of answer " + std::to_string(++answers_);
    Write(script + "\nSELECT '" + marker + "';\n");
    std::vector<std::string> lines;
    while (true) {
      std::string line = ReadLine(script);
      if (line == marker) return lines;
      lines.push_back(std::move(line));
    }
  }

  [[nodiscard]] std::string ErrorFile() const { return folder_.Path() + "/errors"; }

  void Start() {
    std::array<int, 2> in = {-1, -1};
    std::array<int, 2> out = {-1, -1};
    if (pipe2(in.data(), O_CLOEXEC) != 0 || pipe2(out.data(), O_CLOEXEC) != 0) {
      throw std::system_error(errno, std::generic_category(), "pipe");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, ErrorFile().c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    std::vector<char*> arguments;
    for (std::string& argument : manner_.command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    const int result = posix_spawnp(&program_, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(in[0]);
    close(out[1]);
    to_ = in[1];
    from_ = out[0];
    unread_.clear();
    if (result != 0) throw std::system_error(result, std::generic_category(), arguments[0]);
  }

  void End() {
    if (program_ < 0) return;
    close(to_);
    close(from_);
    waitpid(program_, nullptr, 0);
    program_ = -1;
  }

  void Write(const std::string& text) {
    // A program that ended has a broken pipe: the next reading tells why.
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    for (std::size_t done = 0; done < text.size();) {
      const ssize_t count = write(to_, text.data() + done, text.size() - done);
      if (count <= 0) break;
      done += static_cast<std::size_t>(count);
    }
    std::signal(SIGPIPE, before);
  }

  std::string ReadLine(const std::string& script) {
    std::size_t end = std::string::npos;
    while ((end = unread_.find('\n')) == std::string::npos) {
      std::array<char, 65536> buffer = {};
      const ssize_t count = read(from_, buffer.data(), buffer.size());
      if (count <= 0) {
        End();
        std::ifstream errors(ErrorFile());
        throw std::runtime_error(std::string(std::istreambuf_iterator<char>(errors), {}) + " " + script);
      }
      unread_.append(buffer.data(), static_cast<std::size_t>(count));
    }
    std::string line = unread_.substr(0, end);
    unread_.erase(0, end + 1);
    return line;
  }

  Manner manner_;
  TemporaryFolder folder_;
  pid_t program_ = -1;
  int to_ = -1;
  int from_ = -1;
  std::string unread_;
  int answers_ = 0;
};

/// A value of an ODBC connection string without braces.
std::string Setting(const std::string& connectionString, const std::string& name) {
  std::istringstream text(connectionString);
  for (std::string part; std::getline(text, part, ';');) {
    if (part.starts_with(name + "=")) return part.substr(name.size() + 1);
  }
  return "";
}

}  // namespace

std::unique_ptr<DatabaseClient> OpenSqliteClient(const std::string& path) {
  return std::make_unique<SqliteClient>(path);
}

std::unique_ptr<DatabaseClient> OpenPostgreSqlClient(const std::string& connectionString) {
  const auto part = [&](const char* name) { return Setting(connectionString, name); };
  return std::make_unique<ClientProgram>(ClientProgram::Manner{
      .command = {"env", "PGPASSWORD=" + part("PWD"), "PGOPTIONS=--client-min-messages=warning",
                  "PGCLIENTENCODING=UTF8", "psql", "--no-psqlrc", "--quiet", "--set=ON_ERROR_STOP=1", "--no-align",
                  "--tuples-only", "--field-separator=\t", "--host=" + part("Server"), "--port=" + part("Port"),
                  "--username=" + part("UID"), part("Database")},
      .preamble = "SET TimeZone TO 'UTC'; SET extra_float_digits TO 1; SET IntervalStyle TO 'postgres';\n",
      .hexBefore = "coalesce(encode(convert_to((",
      .hexAfter = ")::text, 'UTF8'), 'hex'), '-')"});
}

std::unique_ptr<DatabaseClient> OpenMariaDbClient(const std::string& connectionString) {
  const auto part = [&](const char* name) { return Setting(connectionString, name); };
  return std::make_unique<ClientProgram>(ClientProgram::Manner{
      .command = {"env", "MYSQL_PWD=" + part("PWD"), "mariadb", "--no-defaults", "--host=" + part("Server"),
                  "--port=" + part("Port"), "--user=" + part("UID"), "--default-character-set=utf8mb4", "--batch",
                  "--skip-column-names", "--unbuffered", part("Database")},
      .preamble = "SET sql_mode='NO_BACKSLASH_ESCAPES', time_zone='+00:00';\n",
      .hexBefore = "COALESCE(HEX(CONVERT(",
      .hexAfter = " USING utf8mb4)), '-')"});
}

}  // namespace ods::test

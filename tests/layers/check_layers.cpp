// Checks that the sources keep to their rooms: an include goes only downwards and only where the table below allows it;
// headers of a system, and questions for it, stand only in the folders posix/ and win32/ of the rooms under
// src/platform/, those of a library only in the room that is built on it, and the windows' library only under
// src/ui/windows/, which nothing outside includes: the server must not need that library. What the table allows and no
// source needs is reported too.
//
// What is in posix/ is seen by posix/ alone, and win32/ likewise. A room's own headers that both have, and of which a
// build takes one, are included without a folder: "NativeFile.h".
//
//   check-layers ROOT            reports every violation in ROOT/src, one a line; exit status 1 when there is one
//   check-layers ROOT EXPECTED   exit status 0 only when the report is, line for line, the text of the file EXPECTED
#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <optional>
#include <set>
#include <span>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace {

namespace fs = std::filesystem;

/// A folder below src, and the rooms above it in the table that it may use besides itself, separated by blanks.
struct Room {
  std::string_view folder;
  std::string_view mayUse;
};

constexpr std::array<Room, 14> kRooms{{
    {"common", ""},
    {"platform/system", "common"},
    {"platform/ado", "common platform/system"},
    {"platform/queue", "common platform/system"},
    {"platform/xml", "common platform/system"},
    {"log", "common platform/system"},
    {"database", "common platform/ado platform/xml log"},
    {"exact", "common platform/ado database"},
    {"sqlformat", "common platform/xml database exact"},
    {"catalogue", "common database exact"},
    {"tabledata", "common platform/ado platform/xml database exact sqlformat catalogue"},
    {"users", "common platform/system platform/xml database exact"},
    {"ui", "common platform/system platform/ado log"},
    {"server",
     "common platform/system platform/ado platform/queue platform/xml log database exact sqlformat catalogue tabledata "
     "users "
     "ui"},
}};

/// A library that one room is built on: the beginning of the names of its headers.
struct Library {
  std::string_view headers;
  std::string_view room;
};
constexpr std::array<Library, 2> kLibraries{{{"pugixml", "platform/xml"}, {"amqp", "platform/queue"}}};

/// The folders of a room under platform for one system each, and how a source asks which it is built for.
constexpr std::array<std::string_view, 2> kSystems{"posix", "win32"};
constexpr std::array<std::string_view, 5> kQuestions{"_WIN32", "_WIN64", "__linux__", "__unix__", "_MSC_VER"};

/// The corner of the room ui that is a module of its own.
constexpr std::string_view kWindows = "ui/windows/";

/// The headers of the C++20 standard library.
constexpr std::string_view kStandardHeaders =
    "algorithm any array atomic barrier bit bitset cassert cctype cerrno cfenv cfloat charconv chrono cinttypes "
    "climits "
    "clocale cmath codecvt compare complex concepts condition_variable coroutine csetjmp csignal cstdarg cstddef "
    "cstdint cstdio cstdlib cstring ctime cuchar cwchar cwctype deque exception execution filesystem format "
    "forward_list fstream functional future initializer_list iomanip ios iosfwd iostream istream iterator latch limits "
    "list locale map memory memory_resource mutex new numbers numeric optional ostream queue random ranges ratio regex "
    "scoped_allocator semaphore set shared_mutex source_location span sstream stack stdexcept stop_token streambuf "
    "string string_view strstream syncstream system_error thread tuple type_traits typeindex typeinfo unordered_map "
    "unordered_set utility valarray variant vector version";

/// True when `word` is one of the words, which are separated by blanks.
bool Holds(std::string_view words, std::string_view word) {
  while (!words.empty()) {
    const std::size_t end = std::min(words.find(' '), words.size());
    if (words.substr(0, end) == word) {
      return true;
    }
    words.remove_prefix(std::min(end + 1, words.size()));
  }
  return false;
}

/// The room that a path below src lies in, or nullptr.
const Room* RoomOf(std::string_view path) {
  for (const Room& room : kRooms) {
    if (path.size() > room.folder.size() && path.starts_with(room.folder) && path[room.folder.size()] == '/') {
      return &room;
    }
  }
  return nullptr;
}

/// The system that a path below src is for, of a room under platform; "" when it is for all.
std::string_view SystemOf(std::string_view path) {
  const Room* room = RoomOf(path);
  if (room == nullptr || !room->folder.starts_with("platform/")) {
    return "";
  }
  path.remove_prefix(room->folder.size() + 1);
  const std::string_view folder = path.substr(0, path.find('/'));
  const auto* const found = std::ranges::find(kSystems, folder);
  return found != kSystems.end() && folder.size() < path.size() ? *found : "";
}

/// What a line includes, with its quotes or angle brackets; nothing when it is no include line.
std::optional<std::string> IncludedBy(std::string_view line) {
  const auto skip = [&line](std::string_view text) {
    line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
    const bool found = line.starts_with(text);
    line.remove_prefix(found ? text.size() : 0);
    return found;
  };
  if (!skip("#") || !skip("include")) {
    return std::nullopt;
  }
  skip("");  // the blanks in front of the name
  const char close = line.starts_with('<') ? '>' : '"';
  const std::size_t end = line.find(close, 1);
  return std::string(line.substr(0, end == std::string_view::npos ? end : end + 1));
}

/// True for a header of Qt, such as QLabel.
bool IsOfWindowsLibrary(std::string_view name) {
  return name.size() > 1 && name[0] == 'Q' && std::isalpha(static_cast<unsigned char>(name[1])) != 0;
}

/// What is wrong with including the header of a library or a system; empty when nothing is.
std::string ViolationOfForeign(const Room& room, std::string_view file, const std::string& name) {
  for (const Library& library : kLibraries) {
    if (name.starts_with(library.headers)) {
      return room.folder == library.room ? "" : "only " + std::string(library.room) + " may include it";
    }
  }
  if (IsOfWindowsLibrary(name)) {
    return file.starts_with(kWindows) ? "" : "the windows' library outside ui/windows";
  }
  return !SystemOf(file).empty() || Holds(kStandardHeaders, name) ? "" : "a system header outside posix and win32";
}

/// True for a header that the room has for every system.
bool IsOfEachSystem(const fs::path& sources, const Room& room, const std::string& name) {
  return std::ranges::all_of(
      kSystems, [&](std::string_view system) { return fs::is_regular_file(sources / room.folder / system / name); });
}

/// What is wrong with including `target` (with its quotes) from the file `file` of `room`; empty when nothing is.
std::string Violation(const fs::path& sources, const Room& room, std::string_view file, const std::string& target) {
  const bool inWindows = file.starts_with(kWindows);
  const std::string name = target.size() > 2 ? target.substr(1, target.size() - 2) : "";
  if (target.starts_with('<')) {
    return ViolationOfForeign(room, file, name);
  }
  if (!target.starts_with('"')) {
    return "not a file name";
  }
  if (name.find('/') == std::string::npos && IsOfEachSystem(sources, room, name)) {
    return "";
  }
  const Room* entered = RoomOf(name);
  if (entered == nullptr || name.find("..") != std::string::npos) {
    return "not the path of a file in a room";
  }
  if (name.starts_with(kWindows) && !inWindows) {
    return "only ui/windows may include it";
  }
  if (const std::string_view system = SystemOf(name); !system.empty() && system != SystemOf(file)) {
    return "only " + std::string(system) + " may include it";
  }
  return entered == &room || Holds(room.mayUse, entered->folder)
             ? ""
             : std::string(room.folder) + " may not use " + std::string(entered->folder);
}

std::string ReadAll(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file) {
    throw std::runtime_error("cannot read " + path.string());
  }
  return text.str();
}

/// Which room uses which, as "user used".
using Uses = std::set<std::string>;

std::string Use(std::string_view user, std::string_view used) { return std::string(user) + " " + std::string(used); }

/// Adds the violations of a file to `report`, and to `uses` the rooms that it enters.
void CheckFile(const fs::path& sources, const std::string& name, std::set<std::string>& report, Uses& uses) {
  const Room* room = RoomOf(name);
  if (room == nullptr) {
    report.insert(name + ": not in a room");
    return;
  }
  std::istringstream text(ReadAll(sources / name));
  for (std::string line; std::getline(text, line);) {
    if (const std::optional<std::string> target = IncludedBy(line)) {
      const std::string violation = Violation(sources, *room, name, *target);
      if (!violation.empty()) {
        report.insert(std::string(name).append(": ").append(*target).append(": ").append(violation));
      }
      if (const Room* entered = RoomOf(std::string_view(*target).substr(1))) {
        uses.insert(Use(room->folder, entered->folder));
      }
    }
    for (const std::string_view question : kQuestions) {
      if (SystemOf(name).empty() && line.find(question) != std::string::npos) {
        report.insert(name + ": " + std::string(question) + ": asks for the system outside posix and win32");
      }
    }
  }
}

/// What the table allows and nothing uses, a line each.
void ReportWhatIsNotNeeded(const Uses& uses, std::set<std::string>& report) {
  for (const Room& room : kRooms) {
    for (const Room& used : kRooms) {
      if (Holds(room.mayUse, used.folder) && !uses.contains(Use(room.folder, used.folder))) {
        report.insert(std::string(room.folder) + " may use " + std::string(used.folder) + " and does not");
      }
    }
  }
}

/// The violations in ROOT/src, a line each, in order. Raises when there is nothing to check.
std::string Report(const fs::path& root) {
  const fs::path sources = root / "src";
  std::set<std::string> report;
  Uses uses;
  std::size_t files = 0;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(sources)) {
    const std::string extension = entry.path().extension().string();
    if (entry.is_regular_file() && (extension == ".h" || extension == ".cpp")) {
      ++files;
      CheckFile(sources, entry.path().lexically_relative(sources).generic_string(), report, uses);
    }
  }
  if (files == 0) {
    throw std::runtime_error("no sources in " + sources.string());
  }
  ReportWhatIsNotNeeded(uses, report);
  std::string text;
  for (const std::string& line : report) {
    text += line + "\n";
  }
  return text;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    const std::span<char*> arguments(argv, static_cast<std::size_t>(argc));
    if (arguments.size() < 2 || arguments.size() > 3) {
      std::fputs("Usage: check-layers ROOT [EXPECTED]\n", stderr);
      return 2;
    }
    const std::string report = Report(arguments[1]);
    std::fputs(report.c_str(), stdout);
    return report == (arguments.size() == 3 ? ReadAll(arguments[2]) : "") ? 0 : 1;
  } catch (const std::exception& error) {
    std::fprintf(stderr, "check-layers: %s\n", error.what());
    return 2;
  }
}

// Instructions that a server and the bare program take, counted by callgrind: they are the same on every machine with
// the same libraries, however busy it is.
#pragma once

#include <string>
#include <vector>

namespace ods::bench {

/// Instructions in the user's space, of all threads.
struct Instructions {
  double all = 0;
  double driver = 0;  ///< in the driver manager and all that it calls: the driver, the database's library
};

inline Instructions operator-(const Instructions& a, const Instructions& b) {
  return {a.all - b.all, a.driver - b.driver};
}
inline Instructions operator/(const Instructions& a, double number) { return {a.all / number, a.driver / number}; }

/// True where there is a valgrind to count with.
[[nodiscard]] bool CanCount();

/// A request, and how often.
struct Asked {
  std::string request;
  int times;
};

/// What a server takes from its start to its end when it is asked these requests and nothing else. Raises
/// std::runtime_error where it does not answer, or answers with an error.
[[nodiscard]] Instructions CountServer(const std::string& connection, bool exact, const std::vector<Asked>& requests);
/// What the bare program takes from its start to its end that runs the statements of these requests.
[[nodiscard]] Instructions CountLimit(const std::string& connection, bool exact, const std::vector<Asked>& requests);

}  // namespace ods::bench

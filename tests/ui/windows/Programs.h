// Programs that tests put into a folder of their own, and what these left behind.
#pragma once

#include <chrono>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <thread>

namespace ods::test {

inline void WriteProgram(const std::string& path, const std::string& script) {
  std::ofstream(path) << "#!/bin/sh\n" << script;
  chmod(path.c_str(), 0700);
}

/// The content of a file that a program makes in one step, as soon as it is there; "" when it does not come.
inline std::string WaitForFile(const std::string& path) {
  for (int tries = 0; tries < 3000 && !std::filesystem::exists(path); ++tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

/// A script that tells its process id and its arguments in `file`, and then stays until it is killed.
inline std::string StayingScript(const std::string& file) {
  return "printf '%s\\n' $$ \"$@\" > '" + file + ".new'\nmv '" + file + ".new' '" + file + "'\nexec sleep 600\n";
}

}  // namespace ods::test

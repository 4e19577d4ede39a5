#include "e2e/DatabaseServer.h"

#include <array>
#include <fcntl.h>
#include <filesystem>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace ods::test {

DatabaseServer::DatabaseServer(const std::string& product) {
  // The server may run as another user, who has to get into its folder.
  std::filesystem::permissions(folder_.Path(), std::filesystem::perms::others_exec, std::filesystem::perm_options::add);
  std::array<int, 2> in{};
  std::array<int, 2> out{};
  if (pipe2(in.data(), O_CLOEXEC) != 0 || pipe2(out.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
  std::array<std::string, 4> words = {"bash", ODS_DATABASE_SERVER_SCRIPT, product, folder_.Path() + "/server"};
  std::array<char*, 5> arguments = {words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
  const int failure = posix_spawnp(&pid_, "bash", &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  close(in[0]);
  close(out[1]);
  words_ = fdopen(in[1], "w");
  answers_ = fdopen(out[0], "r");
  if (failure != 0) throw std::runtime_error("cannot start bash");
  connectionString_ = ReadLine();
}

DatabaseServer::~DatabaseServer() {
  std::fclose(words_);
  std::fclose(answers_);
  if (pid_ > 0) waitpid(pid_, nullptr, 0);
}

void DatabaseServer::Tell(const char* word) {
  std::fprintf(words_, "%s\n", word);
  std::fflush(words_);
  if (ReadLine() != "done") throw std::runtime_error(std::string("the database server did not ") + word);
}

std::string DatabaseServer::ReadLine() {
  std::string line;
  for (int c = std::fgetc(answers_); c != '\n'; c = std::fgetc(answers_)) {
    if (c == EOF) throw std::runtime_error("the database server's script has ended");
    line += static_cast<char>(c);
  }
  return line;
}

}  // namespace ods::test

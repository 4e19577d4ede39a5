// A server that takes connections and never says a word.
#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace ods::test {

/// Listens on loopback; the kernel accepts, and nobody reads.
class SilentListener {
 public:
  SilentListener() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const any = reinterpret_cast<sockaddr*>(&address);
    if (socket_ < 0 || bind(socket_, any, size) != 0 || listen(socket_, 64) != 0 ||
        getsockname(socket_, any, &size) != 0) {
      throw std::runtime_error("cannot listen on loopback");
    }
    port_ = ntohs(address.sin_port);
  }
  ~SilentListener() { close(socket_); }
  SilentListener(const SilentListener&) = delete;
  SilentListener& operator=(const SilentListener&) = delete;
  SilentListener(SilentListener&&) = delete;
  SilentListener& operator=(SilentListener&&) = delete;

  [[nodiscard]] int Port() const { return port_; }
  /// The rest of a connection string whose driver is to connect here.
  [[nodiscard]] std::string Target() const {
    return ";Server=127.0.0.1;Port=" + std::to_string(port_) + ";Database=d;UID=u;PWD=p";
  }

 private:
  int socket_;
  int port_ = 0;
};

}  // namespace ods::test

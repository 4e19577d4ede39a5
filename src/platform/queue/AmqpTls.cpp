#include "platform/queue/AmqpTls.h"

#include <amqp_ssl_socket.h>
#include <array>
#include <filesystem>
#include <string>
#include <system_error>

#include "common/Error.h"
#include "platform/queue/AmqpFailure.h"

namespace ods {

namespace {

constexpr auto kAuthorityFiles =
    std::to_array<const char*>({"/etc/ssl/certs/ca-certificates.crt", "/etc/pki/tls/certs/ca-bundle.crt"});

std::string AuthorityFile(const BrokerUri& uri) {
  if (!uri.caFile.empty()) return uri.caFile;
  std::error_code unknown;
  for (const char* file : kAuthorityFiles) {
    if (std::filesystem::exists(file, unknown)) return file;
  }
  throw Error(error_number::kOwn, "No file of certificate authorities was found: name one with cacert.");
}

}  // namespace

amqp_socket_t* MakeTlsSocket(amqp_connection_state_t connection, const BrokerUri& uri) {
  amqp_socket_t* socket = amqp_ssl_socket_new(connection);
  if (socket == nullptr) throw Error(error_number::kOwn, "The TLS library has no room for a connection.");
  amqp_ssl_socket_set_verify_peer(socket, uri.verify ? 1 : 0);
  amqp_ssl_socket_set_verify_hostname(socket, uri.verify ? 1 : 0);
  RequireAmqp(amqp_ssl_socket_set_ssl_versions(socket, AMQP_TLSv1_2, AMQP_TLSvLATEST),
              "The versions of TLS are refused");
  if (uri.verify) {
    const std::string file = AuthorityFile(uri);
    RequireAmqp(amqp_ssl_socket_set_cacert(socket, file.c_str()), "The authorities in \"" + file + "\" cannot be used");
  }
  if (!uri.certificateFile.empty()) {
    RequireAmqp(amqp_ssl_socket_set_key(socket, uri.certificateFile.c_str(), uri.keyFile.c_str()),
                "The certificate \"" + uri.certificateFile + "\" and its key cannot be used");
  }
  return socket;
}

}  // namespace ods

// The socket of a connection that is encrypted.
//
// Internal to this folder.
#pragma once

#include <amqp.h>

#include "platform/queue/BrokerUri.h"

namespace ods {

/// A socket of the connection, which owns it, with the checks that the URI asks for. Raises error 1000 naming the file
/// that cannot be used.
[[nodiscard]] amqp_socket_t* MakeTlsSocket(amqp_connection_state_t connection, const BrokerUri& uri);

}  // namespace ods

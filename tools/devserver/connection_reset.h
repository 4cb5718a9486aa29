#pragma once

#include <httplib.h>

namespace orvanta::devserver {

// Resets the TCP connection that carried `request`, from inside its handler, so that the client
// sees a transport failure (curl: "connection reset by peer"; no status at all) instead of an
// answer. cpp-httplib gives handlers no socket, so the socket is found by its address pair among
// the process's descriptors, made to send RST on close (SO_LINGER 0) and closed by putting
// /dev/null in its place: the descriptor number stays valid for cpp-httplib, whose answer then
// fails to write and whose own close releases the placeholder.
// Returns false when the socket was not found (the connection is then left alone).
bool resetConnection(const httplib::Request& request);

}  // namespace orvanta::devserver

#pragma once

#include <httplib.h>

#include <memory>

namespace orvanta::devserver {

class DevServer;

// The control port's server, acting on `server` (which outlives it):
//   GET  /control  the fault state (DevServer::controlState)
//   POST /control  a control document (parseControlRequest); answers the new state, 400 with
//                  {"error"} for a document it does not understand (nothing is applied then),
//                  500 with {"error"} when the site cannot come back up
//   GET  /addresses  DevServer::addresses
std::unique_ptr<httplib::Server> makeControlServer(DevServer& server);

}  // namespace orvanta::devserver

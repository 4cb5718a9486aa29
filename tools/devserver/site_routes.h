#pragma once

#include <httplib.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>

#include "devserver/fault_controller.h"
#include "devserver/message_store.h"

namespace orvanta::devserver {

// What the site's handlers share. Everything here outlives every site server made from it.
struct SiteContext {
  MessageStore& store;
  FaultController& faults;
  std::filesystem::path rules_dir;  // "<appid>.json" documents; empty = every document is absent
  const std::atomic<bool>& down;    // while set, requests on open connections are reset
  std::chrono::milliseconds rules_delay{0};  // how long a found rule document's answer is held
};

// The site port's server:
//   POST   /track/<method>                 record the message, answer per the fault modes
//   GET    /rules/inappactivity/<id>.json  the rule document <rules_dir>/<id>.json, or 404,
//                                          after rules_delay
//   GET    /rules/inapp?<query>            a popup page
//   GET    /                               the live page
//   GET    /api/messages[?since=SEQ][&status=S], DELETE /api/messages, GET /api/counts
std::unique_ptr<httplib::Server> makeSiteServer(const SiteContext& context);

}  // namespace orvanta::devserver

#pragma once

#include <httplib.h>

#include <string>

namespace orvanta::devserver {

// The live page: received messages newest first and counts per event id, refreshed from
// /api/messages and /api/counts by a small script. Self-contained (no external assets).
const std::string& livePageHtml();

// A popup page for the query of a rule. Reads "title", "text" and "link" (all optional) and lists
// every parameter it was given. Its buttons call closeAction() and intentAction(link), which the
// host's web view installs once the page has loaded; in a plain browser, stand-ins only show what
// would have been called.
std::string popupPageHtml(const httplib::Params& params);

}  // namespace orvanta::devserver

#include "devserver/pages.h"

#include "devserver/json.h"

namespace orvanta::devserver {
namespace {

std::string escapeHtml(const std::string& text) {
  std::string out;
  out.reserve(text.size());
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      case '\'': out += "&#39;"; break;
      default: out += c;
    }
  }
  return out;
}

// A JavaScript string literal that is safe inside a <script> element: JSON with every non-ASCII
// character and every '<' escaped, so the text can neither end the element nor the string.
std::string scriptString(const std::string& text) {
  std::string json = Json(text).dump(-1, ' ', /*ensure_ascii=*/true, Json::error_handler_t::replace);
  std::string out;
  for (char c : json) {
    if (c == '<') {
      out += "\\u003c";
    } else {
      out += c;
    }
  }
  return out;
}

std::string paramOr(const httplib::Params& params, const char* key, const char* fallback) {
  auto it = params.find(key);
  return it == params.end() ? fallback : it->second;
}

constexpr const char* kLivePage = R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<title>Orvanta devserver</title>
<style>
body { font-family: system-ui, sans-serif; margin: 1.5em; color: #222; }
h1 { font-size: 1.3em; } h2 { font-size: 1.1em; margin-top: 1.5em; }
table { border-collapse: collapse; font-size: 0.9em; }
th, td { border-bottom: 1px solid #ddd; padding: 0.3em 0.6em; text-align: left; vertical-align: top; }
th { background: #f4f4f4; }
td.failed { color: #b00; font-weight: bold; }
pre { margin: 0.3em 0; max-width: 60em; white-space: pre-wrap; word-break: break-all; }
#status { color: #666; margin-left: 1em; }
</style>
</head>
<body>
<h1>Orvanta devserver <span id="status"></span></h1>
<p>Tracking base <code id="tracking"></code>, rules base <code id="rules"></code>.
<button id="clear">Clear messages</button></p>
<h2>Delivered per event id</h2>
<p id="totals"></p>
<table><thead><tr><th>event id</th><th>event</th><th>count</th></tr></thead>
<tbody id="counts"></tbody></table>
<h2>Messages, newest first</h2>
<table><thead><tr><th>#</th><th>received (UTC)</th><th>method</th><th>status</th><th>event id</th>
<th>event</th><th>identity</th><th>session</th><th>body</th></tr></thead>
<tbody id="messages"></tbody></table>
<script>
"use strict";
document.getElementById("tracking").textContent = location.origin + "/track/";
document.getElementById("rules").textContent = location.origin + "/rules/";
let lastSeq = 0;
let firstSeq = null;
let shown = 0;

function cell(row, text, className) {
  const td = row.insertCell();
  td.textContent = text === null || text === undefined ? "" : String(text);
  if (className) td.className = className;
  return td;
}

function bodyCell(row, message) {
  const details = document.createElement("details");
  const summary = document.createElement("summary");
  summary.textContent = message.malformed ? "raw (malformed)" : "raw";
  const raw = document.createElement("pre");
  raw.textContent = message.body;
  details.append(summary, raw);
  if (message.data !== null) {
    const decoded = document.createElement("pre");
    decoded.textContent = JSON.stringify(message.data, null, 2);
    details.append(decoded);
  }
  row.insertCell().append(details);
}

function addMessage(message) {
  const row = document.getElementById("messages").insertRow(0);
  cell(row, message.seq);
  cell(row, message.received_at);
  cell(row, message.method);
  cell(row, message.status === 0 ? "reset" : message.status, message.status === 200 ? "" : "failed");
  cell(row, message.eventid);
  cell(row, message.event);
  cell(row, message.identity);
  cell(row, message.sessionid);
  bodyCell(row, message);
  if (shown === 0) firstSeq = message.seq;
  lastSeq = message.seq;
  shown += 1;
}

function showCounts(counts) {
  document.getElementById("totals").textContent =
    counts.received + " received, " + counts.delivered + " delivered (answered 200)";
  const body = document.getElementById("counts");
  body.replaceChildren();
  for (const entry of counts.eventids) {
    const row = body.insertRow();
    cell(row, entry.eventid === null ? "none" : entry.eventid);
    cell(row, entry.event);
    cell(row, entry.count);
  }
}

function restart() {
  document.getElementById("messages").replaceChildren();
  lastSeq = 0;
  firstSeq = null;
  shown = 0;
}

async function refresh() {
  try {
    const counts = await (await fetch("/api/counts")).json();
    if (shown > 0 && counts.first_seq !== firstSeq) restart();  // cleared by someone else
    const messages = await (await fetch("/api/messages?since=" + lastSeq)).json();
    messages.forEach(addMessage);
    showCounts(counts);
    document.getElementById("status").textContent = "live";
  } catch (error) {
    document.getElementById("status").textContent = "not reachable";
  }
  setTimeout(refresh, 1000);
}

document.getElementById("clear").addEventListener("click", async () => {
  await fetch("/api/messages", { method: "DELETE" });
  restart();
});
refresh();
</script>
</body>
</html>
)html";

}  // namespace

const std::string& livePageHtml() {
  static const std::string page = kLivePage;
  return page;
}

std::string popupPageHtml(const httplib::Params& params) {
  std::string rows;
  for (const auto& [key, value] : params) {
    rows += "<tr><th>" + escapeHtml(key) + "</th><td>" + escapeHtml(value) + "</td></tr>\n";
  }
  return R"html(<!DOCTYPE html>
<html lang="en">
<head>
<meta charset="utf-8">
<meta name="viewport" content="width=device-width, initial-scale=1">
<title>)html" + escapeHtml(paramOr(params, "title", "Orvanta popup")) + R"html(</title>
<style>
body { font-family: system-ui, sans-serif; margin: 0; padding: 1em; background: #fff; }
h1 { font-size: 1.2em; margin: 0 0 0.5em; }
button { font-size: 1em; padding: 0.5em 1.2em; margin-right: 0.5em; }
table { font-size: 0.8em; color: #555; margin-top: 1em; }
#called { color: #666; font-size: 0.8em; }
</style>
<script>
"use strict";
var orvantaLink = )html" + scriptString(paramOr(params, "link", "")) + R"html(;
// Stand-ins for a plain browser; the host's web view replaces both once the page has loaded.
function orvantaShowCall(text) { document.getElementById("called").textContent = text + " called"; }
if (typeof window.closeAction !== "function") {
  window.closeAction = function () { orvantaShowCall("closeAction()"); };
}
if (typeof window.intentAction !== "function") {
  window.intentAction = function (value) { orvantaShowCall("intentAction(" + String(value) + ")"); };
}
</script>
</head>
<body>
<h1>)html" + escapeHtml(paramOr(params, "title", "Orvanta popup")) + R"html(</h1>
<p>)html" + escapeHtml(paramOr(params, "text", "")) + R"html(</p>
<button id="open" onclick="intentAction(orvantaLink)">Open</button>
<button id="close" onclick="closeAction()">Close</button>
<p id="called"></p>
<table>
)html" + rows + R"html(</table>
</body>
</html>
)html";
}

}  // namespace orvanta::devserver

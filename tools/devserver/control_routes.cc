#include "devserver/control_routes.h"

#include <stdexcept>

#include "devserver/dev_server.h"

namespace orvanta::devserver {
namespace {

constexpr const char* kJson = "application/json";

void answerError(httplib::Response& response, int status, const char* what) {
  response.status = status;
  response.set_content(dumpJson({{"error", what}}), kJson);
}

void applyControl(DevServer& server, const httplib::Request& request,
                  httplib::Response& response) {
  const Json document = parseDocument(request.body);
  if (document.is_discarded()) return answerError(response, 400, "the body is not a JSON document");
  try {
    ControlRequest change = parseControlRequest(document);
    response.set_content(dumpJson(server.control(change)), kJson);
  } catch (const std::invalid_argument& error) {
    answerError(response, 400, error.what());
  } catch (const std::runtime_error& error) {
    answerError(response, 500, error.what());
  }
}

}  // namespace

std::unique_ptr<httplib::Server> makeControlServer(DevServer& server) {
  auto http = std::make_unique<httplib::Server>();
  http->Get("/control", [&server](const httplib::Request&, httplib::Response& res) {
    res.set_content(dumpJson(server.controlState()), kJson);
  });
  http->Post("/control", [&server](const httplib::Request& req, httplib::Response& res) {
    applyControl(server, req, res);
  });
  http->Get("/addresses", [&server](const httplib::Request&, httplib::Response& res) {
    res.set_content(dumpJson(server.addresses()), kJson);
  });
  return http;
}

}  // namespace orvanta::devserver

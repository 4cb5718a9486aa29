// The only component that talks HTTP: a JSON GET, and a form POST of already
// encoded parameter text to a named method of the tracking server, plus the
// tracking envelope that every message travels in.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "orvanta/platform/app_host.h"
#include "orvanta/platform/http_client.h"
#include "orvanta/status_block.h"
#include "orvanta/value.h"

namespace orvanta {

class ClientIdentity;
class DateFormator;
class DBManager;
class OrvantaCommanMethods;
class OrvantaDataModel;
class OrvantaLocationTracker;
class Sessions;

class OrvantaWebServiceHandler {
 public:
  using GetBlock = std::function<void(int status, std::optional<Value> result)>;
  using ResultBlock = std::function<void(int status, std::optional<std::string> body)>;

  // Every collaborator must outlive it. trackingBaseUrl: the method name is
  // appended to it. location gives each message's "lat" and "lng".
  // offlineQueue journals each message before it leaves and queues it when
  // the answer is not 200.
  OrvantaWebServiceHandler(HttpClient& http, std::string trackingBaseUrl, const AppHost& appHost,
                           const OrvantaLocationTracker& location, OrvantaDataModel& model, OrvantaCommanMethods& settings, DateFormator& dates,
                           Sessions& sessions, ClientIdentity& identity, DBManager& offlineQueue);
  static OrvantaWebServiceHandler& sharedInstance();

  // GET url; the block gets (200, parsed JSON) or (500, null) for anything
  // else: another status, no answer, no body, or a body that is not JSON.
  // Called once, on a network thread.
  void callGetService(const std::string& url, GetBlock block);
  // POSTs params (sent as they are) to the tracking base URL + method; the
  // block gets the HTTP status, 0 when no answer came. Called once, on a
  // network thread; without a tracking base URL nothing is sent and it gets 0
  // at once, on this thread.
  void postRequestDataToTheServer(const std::string& method, const std::string& params, StatusBlock block);
  // Runs one prepared request; the block gets the status and the body.
  void excecuteSessionRequest(HttpRequest request, ResultBlock block);

  // The tracking envelope: the common fields, then info, then session,
  // attribution and advertising id; sent as "data=" + compact JSON. A message
  // not answered 200 goes to the offline queue; the block (may be empty) then
  // gets the status.
  void callPostService(const std::string& method, const Map& info, StatusBlock block);
  void postPreparedDictionaryToServer(Map trackingObject, const std::string& method, StatusBlock block);
  // The profile message: its own field set, joined at postPreparedDictionaryToServer.
  void callProfilePushService(const Value& payload, StatusBlock block);

  // For a caller that journals a message itself, in one transaction with a
  // change of its own: the parameter text callPostService would send for
  // info, built now (session check and attribution included) and not sent.
  std::string prepareTrackingMessage(const Map& info);
  // Sends params, journaled under ticket (nullopt: not journaled), and
  // settles it by the answer as every message is: 200 drops the journal row,
  // anything else moves it to the offline queue. The block (may be empty)
  // then gets the status.
  void sendJournaled(const std::string& method, const std::string& params, std::optional<std::int64_t> ticket,
                     StatusBlock block);

 private:
  // The common fields, then info.
  Map commonFields(const Map& info);
  // Session, attribution and advertising id added: "data=" + compact JSON.
  std::string envelope(Map trackingObject);

  HttpClient& http_;
  const std::string trackingBaseUrl_;
  const AppHost& appHost_;
  const OrvantaLocationTracker& location_;
  OrvantaDataModel& model_;
  OrvantaCommanMethods& settings_;
  DateFormator& dates_;
  Sessions& sessions_;
  ClientIdentity& identity_;
  DBManager& offlineQueue_;
  // The lower-case model name, read once: the hardware does not change.
  const std::string deviceModel_;
};

}  // namespace orvanta

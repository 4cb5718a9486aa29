#pragma once

#include <string>

#include "orvanta/platform/http_client.h"

namespace orvanta::cli {

// One readable line for one HTTP exchange of the library, e.g.
//   http POST /track/app_activity eventid=101 payload=[{"s^name":"shoe"}] -> 200
// A tracking body ("data=" + JSON) shows its event's own fields: the common
// device and session fields are left out, and so is an empty identity.
std::string exchangeLine(const HttpRequest& request, const HttpResponse& response);

}  // namespace orvanta::cli

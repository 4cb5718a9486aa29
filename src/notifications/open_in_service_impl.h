// What OpenInService works through. The runtime builds it.
#pragma once

#include "orvanta/open_in_service.h"
#include "orvanta/platform/app_host.h"

namespace orvanta {

struct OpenInService::Impl {
  AppHost& appHost;
};

}  // namespace orvanta

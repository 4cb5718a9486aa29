// The readable model name of the device, for the "model" field the server
// segments users by. Maker and operating system are constants of the callers.
#pragma once

#include <string>
#include <string_view>

#include "orvanta/platform/app_host.h"

namespace orvanta {

// The model name of a hardware machine identifier such as "iPhone7,2": the
// name from the model table on an exact, case-sensitive match; otherwise, in
// this order, "iPod Touch" when machine contains "iPod", "iPad" when it
// contains "iPad", "iPhone" when it contains "iPhone", else "Unknown". Never
// empty. Thread-safe.
std::string getDeviceType(std::string_view machine);

// The model name of the device host runs on (its machineIdentifier()).
std::string getDeviceType(const AppHost& host);

}  // namespace orvanta

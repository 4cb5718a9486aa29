// Everything a host application includes.
#pragma once

#include "orvanta/app_tracking.h"
#include "orvanta/config.h"
#include "orvanta/installation.h"
#include "orvanta/json.h"
#include "orvanta/log.h"
#include "orvanta/platform/platform.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"
#include "orvanta/value.h"
#include "orvanta/version.h"

// Everything a host application includes. JSON conversion of Value is in
// orvanta/json.h, apart, so that hosts do not all compile nlohmann-json.
#pragma once

#include "orvanta/app_tracking.h"
#include "orvanta/config.h"
#include "orvanta/inspection.h"
#include "orvanta/installation.h"
#include "orvanta/log.h"
#include "orvanta/number_text.h"
#include "orvanta/open_in_service.h"
#include "orvanta/platform/headless_screen.h"
#include "orvanta/platform/platform.h"
#include "orvanta/push_task_manager.h"
#include "orvanta/push_task_manager_delegate.h"
#include "orvanta/runtime.h"
#include "orvanta/shared_manager.h"
#include "orvanta/status_block.h"
#include "orvanta/url_query.h"
#include "orvanta/value.h"
#include "orvanta/version.h"
#include "orvanta/web_view_controller.h"

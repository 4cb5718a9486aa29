// Every sharedInstance(): the component of the shared runtime. Defined here,
// at the composition root, so that no component reaches up to the runtime.
#include "runtime/components.h"

namespace orvanta {

OrvantaSharedManager& OrvantaSharedManager::sharedInstance() { return Runtime::shared().sharedManager(); }
OrvantaInstallation& OrvantaInstallation::sharedInstance() { return Runtime::shared().installation(); }
OrvantaAppTracking& OrvantaAppTracking::sharedInstance() { return Runtime::shared().appTracking(); }
OrvantaPushTaskManager& OrvantaPushTaskManager::sharedInstance() { return Runtime::shared().pushTaskManager(); }
OpenInService& OpenInService::sharedInstance() { return Runtime::shared().openInService(); }
OrvantaDataModel& OrvantaDataModel::sharedInstance() { return internals(Runtime::shared()).dataModel; }
OrvantaWebServiceHandler& OrvantaWebServiceHandler::sharedInstance() {
  return internals(Runtime::shared()).webServiceHandler;
}
DBManager& DBManager::sharedInstance() { return internals(Runtime::shared()).dbManager; }

}  // namespace orvanta

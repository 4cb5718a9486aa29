// One Runtime owns one instance of every component of the library, built from
// a Platform and a Config. Components reach each other through the runtime
// that owns them. X::sharedInstance() answers the component of the shared,
// process-wide runtime; tests build a runtime of their own.
#pragma once

#include <memory>

#include "orvanta/config.h"
#include "orvanta/platform/platform.h"

namespace orvanta {

class OrvantaDataModel;
class OrvantaCommanMethods;
class OrvantaSharedManager;
class DateFormator;
class FileUtilities;
class OrvantaWebServiceHandler;
class OrvantaInstallation;
class OrvantaAppTracking;
class DatabaseSource;
class DBManager;
class NotificationHub;

class Runtime {
 public:
  // Builds the components lazily, each on first use (thread-safe).
  Runtime(Platform platform, Config config);
  // Fails what is in flight over HTTP (so it lands in the offline queue),
  // stops the main queue, then destroys the components. Not to be run from
  // within an HTTP completion or a main-queue task of this runtime: those
  // threads cannot wait for themselves.
  ~Runtime();
  Runtime(const Runtime&) = delete;
  Runtime& operator=(const Runtime&) = delete;

  // Installs the platform and config of the shared runtime. Answers false
  // (and changes nothing) once the shared runtime exists.
  static bool install(Platform platform, Config config);
  // The shared runtime: created on first use from what was installed, else
  // from the Linux platform and a default Config; never destroyed.
  static Runtime& shared();

  const Platform& platform() const { return platform_; }
  const Config& config() const { return config_; }

  OrvantaDataModel& dataModel();
  OrvantaCommanMethods& commanMethods();
  OrvantaSharedManager& sharedManager();
  DateFormator& dateFormator();
  FileUtilities& fileUtilities();
  OrvantaWebServiceHandler& webServiceHandler();
  OrvantaInstallation& installation();
  OrvantaAppTracking& appTracking();
  DatabaseSource& databaseSource();
  DBManager& dbManager();
  NotificationHub& notificationHub();

 private:
  struct Components;
  Platform platform_;
  const Config config_;
  std::unique_ptr<Components> components_;
};

}  // namespace orvanta

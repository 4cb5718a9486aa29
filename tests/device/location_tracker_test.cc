// The tracker over a fake position source: when updates start, which fix is
// kept, and what a failure leaves.
#include "device/location_tracker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "orvanta/testing/fake_location_provider.h"
#include "orvanta/testing/virtual_clock.h"

namespace orvanta {
namespace {

using testing::FakeLocationProvider;
using testing::VirtualClock;

constexpr double kNow = 1700000000;

class LocationTrackerTest : public ::testing::Test {
 protected:
  // A fix age seconds old.
  static LocationFix fix(double latitude, double age = 0, double accuracy = 5) {
    return LocationFix{latitude, -latitude, accuracy, kNow - age};
  }
  // Authorized, tracking: updates are running.
  void startTracking() {
    provider.setAuthorization(LocationAuthorization::WhenInUse);
    tracker.trackLocation();
    ASSERT_TRUE(provider.updating());
  }

  VirtualClock clock{Date{kNow}};
  FakeLocationProvider provider;
  OrvantaLocationTracker tracker{provider, clock};
};

// Updates start only when already authorized and location services are
// on; permission is never asked for.
TEST_F(LocationTrackerTest, TrackingStartsOnlyWhenAlreadyAuthorized) {
  const std::tuple<LocationAuthorization, bool, bool> cases[] = {
      {LocationAuthorization::NotDetermined, true, false}, {LocationAuthorization::Restricted, true, false},
      {LocationAuthorization::Denied, true, false},        {LocationAuthorization::Always, true, true},
      {LocationAuthorization::WhenInUse, true, true},      {LocationAuthorization::Always, false, false},
  };
  for (const auto& [status, servicesOn, updates] : cases) {
    FakeLocationProvider source;
    OrvantaLocationTracker tracking{source, clock};
    source.setAuthorization(status);
    source.setLocationServicesEnabled(servicesOn);
    tracking.trackLocation();
    EXPECT_EQ(source.updating(), updates) << static_cast<int>(status) << servicesOn;
    EXPECT_EQ(source.authorizationRequests(), 0);
    EXPECT_EQ(tracking.getLatitude(), Value());
    EXPECT_EQ(tracking.getLongitude(), Value());
  }
}

// Once listening, a change to "always" or "when in use" starts updates; other
// statuses leave running ones alone. Before trackLocation nothing listens.
TEST_F(LocationTrackerTest, AnAuthorizationChangeStartsUpdates) {
  provider.setAuthorization(LocationAuthorization::Always);
  EXPECT_FALSE(provider.updating()) << "not tracking yet";
  provider.setAuthorization(LocationAuthorization::NotDetermined);
  tracker.trackLocation();
  const std::pair<LocationAuthorization, bool> changes[] = {
      {LocationAuthorization::Denied, false}, {LocationAuthorization::Always, true},
      {LocationAuthorization::Denied, true},  {LocationAuthorization::Restricted, true}};
  for (const auto& [status, updating] : changes) {
    provider.setAuthorization(status);
    EXPECT_EQ(provider.updating(), updating) << static_cast<int>(status);
  }
  provider.stopUpdating();
  provider.setAuthorization(LocationAuthorization::WhenInUse);
  EXPECT_TRUE(provider.updating());
}

// A fix is kept when it is at most 5 seconds old and its accuracy is not
// negative; then updates stop. Others leave updates running for the next.
TEST_F(LocationTrackerTest, OnlyAFreshValidFixIsKept) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const std::tuple<double, double, bool> cases[] = {
      {0, 5, true},  {5.0, 5, true}, {5.001, 5, false}, {10, 5, false}, {0, -1, false},
      {0, 0, true},  {-30, 5, true}, {nan, 5, false},   {0, nan, false},
  };
  for (const auto& [age, accuracy, kept] : cases) {
    FakeLocationProvider source;
    OrvantaLocationTracker tracking{source, clock};
    source.setAuthorization(LocationAuthorization::Always);
    tracking.trackLocation();
    source.deliverFix(fix(48.85837012345678, age, accuracy));
    SCOPED_TRACE(std::to_string(age) + " " + std::to_string(accuracy));
    EXPECT_EQ(source.updating(), !kept);
    EXPECT_EQ(tracking.getLatitude(), kept ? Value(48.85837012345678) : Value());
    EXPECT_EQ(tracking.getLongitude(), kept ? Value(-48.85837012345678) : Value());
  }
}

// Of several fixes only the last counts; none at all is ignored. A stale fix
// first, a fresh one next: the fresh one is kept.
TEST_F(LocationTrackerTest, TheLastOfSeveralFixesCounts) {
  startTracking();
  tracker.didUpdateLocations({});
  tracker.didUpdateLocations({fix(1), fix(2, 10)});
  EXPECT_TRUE(provider.updating());
  provider.deliverFix(fix(3, 10));
  tracker.didUpdateLocations({fix(4, 10), fix(5)});
  EXPECT_FALSE(provider.updating());
  EXPECT_EQ(tracker.getLatitude(), Value(5.0));
}

// A failure stops updates and keeps the fix there is; the next start-up's
// fix replaces it.
TEST_F(LocationTrackerTest, AFailureStopsUpdatesAndKeepsTheFix) {
  startTracking();
  provider.deliverFailure();
  EXPECT_FALSE(provider.updating());
  EXPECT_EQ(tracker.getLatitude(), Value());

  startTracking();
  provider.deliverFix(fix(7));
  startTracking();
  provider.deliverFailure();
  EXPECT_FALSE(provider.updating());
  EXPECT_EQ(tracker.location()->latitude, 7);
  provider.setAuthorization(LocationAuthorization::Always);
  provider.deliverFix(fix(8));
  EXPECT_EQ(tracker.getLatitude(), Value(8.0));
}

}  // namespace
}  // namespace orvanta

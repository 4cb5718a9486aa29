#include "device/device_type.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "platform/testing/recording_app_host.h"

namespace orvanta {
namespace {

TEST(DeviceTypeTest, NamesOfListedIdentifiersSimulatorsAndDesktops) {
  const std::pair<const char*, const char*> cases[] = {
      // Neighbouring identifiers that name different models.
      {"iPhone7,1", "iPhone 6_Plus"},  // the larger model has the lower number
      {"iPhone7,2", "iPhone 6"}, {"iPad3,3", "iPad 3rd Gen"}, {"iPad3,4", "iPad 4th Gen"},
      {"iPad4,3", "iPad Air"}, {"iPad4,4", "iPad Mini 2nd Gen"}, {"iPad5,2", "iPad Mini 4"},
      {"iPad5,3", "iPad Air 2"}, {"iPad6,4", "iPad Pro 9.7 inch"}, {"iPad6,7", "iPad Pro 12.9 inch"},
      {"iPhone9,3", "iPhone 7"}, {"iPhone9,4", "iPhone 7_Plus"}, {"iPhone10,3", "iPhone X"},
      {"iPhone10,5", "iPhone 8_Plus"},
      // Names keep their own spelling.
      {"iPhone8,2", "iPhone 6S_Plus"}, {"iPhone1,1", "iPhone"}, {"iPhone5,3", "iPhone 5C"},
      {"iPod7,1", "iPod Touch 6th Gen"}, {"iPad2,5", "iPad Mini 1st Gen"},
      // Simulators and desktops.
      {"x86_64", "Simulator"}, {"i386", "Simulator"}, {"arm64", "Unknown"}, {"aarch64", "Unknown"},
      {"AppleTV5,3", "Unknown"}, {"", "Unknown"},
  };
  for (const auto& [machine, name] : cases) EXPECT_EQ(getDeviceType(machine), name) << machine;
}

TEST(DeviceTypeTest, UnlistedModelsFallBackToTheirFamilyInOrder) {
  EXPECT_EQ(getDeviceType("iPhone11,2"), "iPhone");
  EXPECT_EQ(getDeviceType("iPad7,1"), "iPad");
  EXPECT_EQ(getDeviceType("iPod9,1"), "iPod Touch");
  EXPECT_EQ(getDeviceType("iPod6,1"), "iPod Touch");  // the gap between 5th and 6th Gen
  // Substrings anywhere, with iPod before iPad before iPhone.
  EXPECT_EQ(getDeviceType("x-iPhone-iPad-iPod"), "iPod Touch");
  EXPECT_EQ(getDeviceType("iPhone-iPad"), "iPad");
  // The table is matched exactly and case-sensitively.
  EXPECT_EQ(getDeviceType("iphone7,2"), "Unknown");
  EXPECT_EQ(getDeviceType("iPhone7,2 "), "iPhone");
  EXPECT_EQ(getDeviceType("X86_64"), "Unknown");
}

// The table holds 66 identifiers: the two simulators and 64 of the shapes
// enumerated here; the rest of these fall back to their family's name.
TEST(DeviceTypeTest, TableCoversExactly64DeviceIdentifiers) {
  const std::set<std::string> fallbacks = {"iPhone", "iPad", "iPod Touch"};
  int listed = 0;
  for (const std::string family : {"iPhone", "iPad", "iPod"}) {
    for (int major = 1; major <= 12; ++major) {
      for (int minor = 1; minor <= 9; ++minor) {
        const std::string machine = family + std::to_string(major) + "," + std::to_string(minor);
        const std::string name = getDeviceType(machine);
        EXPECT_EQ(name.rfind(family, 0), 0u) << machine << " named " << name;
        // The first iPhone and the first iPad are listed under their family's name.
        if (!fallbacks.contains(name) || machine == "iPhone1,1" || machine == "iPad1,1") ++listed;
      }
    }
  }
  EXPECT_EQ(listed, 64);
}

TEST(DeviceTypeTest, ReadsTheMachineOfTheHost) {
  testing::RecordingAppHost host;
  host.setMachineIdentifier("iPhone8,4");
  EXPECT_EQ(getDeviceType(host), "iPhone SE");
  host.setMachineIdentifier("iPad13,1");
  EXPECT_EQ(getDeviceType(host), "iPad");
}

}  // namespace
}  // namespace orvanta

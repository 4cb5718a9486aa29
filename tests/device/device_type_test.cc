#include "device/device_type.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

#include "platform/testing/recording_app_host.h"

namespace orvanta {
namespace {

// Every listed identifier, by the name the server knows it under (odd
// spellings included).
const std::pair<const char*, const char*> kModels[] = {
    {"Simulator", "i386 x86_64"}, {"iPod Touch 1st Gen", "iPod1,1"}, {"iPod Touch 2nd Gen", "iPod2,1"},
    {"iPod Touch 3rd Gen", "iPod3,1"}, {"iPod Touch 4th Gen", "iPod4,1"}, {"iPod Touch 5th Gen", "iPod5,1"},
    {"iPod Touch 6th Gen", "iPod7,1"}, {"iPhone", "iPhone1,1"}, {"iPhone 3G", "iPhone1,2"},
    {"iPhone 3GS", "iPhone2,1"}, {"iPhone 4", "iPhone3,1 iPhone3,3"}, {"iPhone 4S", "iPhone4,1"},
    {"iPhone 5", "iPhone5,1 iPhone5,2"}, {"iPhone 5C", "iPhone5,3 iPhone5,4"}, {"iPhone 5S", "iPhone6,1 iPhone6,2"},
    {"iPhone 6_Plus", "iPhone7,1"}, {"iPhone 6", "iPhone7,2"}, {"iPhone 6S", "iPhone8,1"},
    {"iPhone 6S_Plus", "iPhone8,2"}, {"iPhone SE", "iPhone8,4"}, {"iPhone 7", "iPhone9,1 iPhone9,3"},
    {"iPhone 7_Plus", "iPhone9,2 iPhone9,4"}, {"iPhone 8", "iPhone10,1 iPhone10,4"},
    {"iPhone 8_Plus", "iPhone10,2 iPhone10,5"}, {"iPhone X", "iPhone10,3 iPhone10,6"}, {"iPad", "iPad1,1"},
    {"iPad 2", "iPad2,1 iPad2,2 iPad2,3 iPad2,4"}, {"iPad 3rd Gen", "iPad3,1 iPad3,2 iPad3,3"},
    {"iPad 4th Gen", "iPad3,4 iPad3,5 iPad3,6"}, {"iPad Air", "iPad4,1 iPad4,2 iPad4,3"},
    {"iPad Air 2", "iPad5,3 iPad5,4"}, {"iPad Pro 12.9 inch", "iPad6,7 iPad6,8"},
    {"iPad Pro 9.7 inch", "iPad6,3 iPad6,4"}, {"iPad Mini 1st Gen", "iPad2,5 iPad2,6 iPad2,7"},
    {"iPad Mini 2nd Gen", "iPad4,4 iPad4,5 iPad4,6"}, {"iPad Mini 3rd Gen", "iPad4,7 iPad4,8 iPad4,9"},
    {"iPad Mini 4", "iPad5,1 iPad5,2"}};

// Every identifier of the listed shapes: the table's name, or else the name
// of its family.
TEST(DeviceTypeTest, ListedIdentifiersAreNamedExactlyAndTheRestByTheirFamily) {
  std::map<std::string, std::string> listed;
  for (const auto& [name, machines] : kModels) {
    std::istringstream words(machines);
    for (std::string machine; words >> machine;) listed[machine] = name;
  }
  ASSERT_EQ(listed.size(), 66u);
  for (const std::string machine : {"i386", "x86_64"}) EXPECT_EQ(getDeviceType(machine), "Simulator");
  for (const std::string family : {"iPhone", "iPad", "iPod"}) {
    for (int major = 1; major <= 12; ++major) {
      for (int minor = 1; minor <= 9; ++minor) {
        const std::string machine = family + std::to_string(major) + "," + std::to_string(minor);
        const std::string fallback = family == "iPod" ? "iPod Touch" : family;
        EXPECT_EQ(getDeviceType(machine), listed.contains(machine) ? listed[machine] : fallback) << machine;
      }
    }
  }
}

TEST(DeviceTypeTest, UnlistedIdentifiersFallBackToTheFirstFamilyTheyContain) {
  const std::pair<const char*, const char*> cases[] = {
      // Substrings anywhere, with iPod before iPad before iPhone.
      {"x-iPhone-iPad-iPod", "iPod Touch"}, {"iPhone-iPad", "iPad"}, {"iPhone7,2 ", "iPhone"},
      // The table is matched exactly and case-sensitively.
      {"iphone7,2", "Unknown"}, {"X86_64", "Unknown"}, {"arm64", "Unknown"}, {"aarch64", "Unknown"},
      {"AppleTV5,3", "Unknown"}, {"", "Unknown"}};
  for (const auto& [machine, name] : cases) EXPECT_EQ(getDeviceType(machine), name) << machine;

  testing::RecordingAppHost host;
  host.setMachineIdentifier("iPhone8,4");
  EXPECT_EQ(getDeviceType(host), "iPhone SE");
}

}  // namespace
}  // namespace orvanta

#include "device/device_type.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>

namespace orvanta {
namespace {

// Every listed identifier, after the name the server knows it under (odd
// spellings included): "name:identifiers;".
const char* const kModels =
    "Simulator:i386 x86_64;iPod Touch 1st Gen:iPod1,1;iPod Touch 2nd Gen:iPod2,1;"
    "iPod Touch 3rd Gen:iPod3,1;iPod Touch 4th Gen:iPod4,1;iPod Touch 5th Gen:iPod5,1;"
    "iPod Touch 6th Gen:iPod7,1;iPhone:iPhone1,1;iPhone 3G:iPhone1,2;iPhone 3GS:iPhone2,1;"
    "iPhone 4:iPhone3,1 iPhone3,3;iPhone 4S:iPhone4,1;iPhone 5:iPhone5,1 iPhone5,2;"
    "iPhone 5C:iPhone5,3 iPhone5,4;iPhone 5S:iPhone6,1 iPhone6,2;iPhone 6_Plus:iPhone7,1;"
    "iPhone 6:iPhone7,2;iPhone 6S:iPhone8,1;iPhone 6S_Plus:iPhone8,2;iPhone SE:iPhone8,4;"
    "iPhone 7:iPhone9,1 iPhone9,3;iPhone 7_Plus:iPhone9,2 iPhone9,4;"
    "iPhone 8:iPhone10,1 iPhone10,4;iPhone 8_Plus:iPhone10,2 iPhone10,5;"
    "iPhone X:iPhone10,3 iPhone10,6;iPad:iPad1,1;iPad 2:iPad2,1 iPad2,2 iPad2,3 iPad2,4;"
    "iPad 3rd Gen:iPad3,1 iPad3,2 iPad3,3;iPad 4th Gen:iPad3,4 iPad3,5 iPad3,6;"
    "iPad Air:iPad4,1 iPad4,2 iPad4,3;iPad Air 2:iPad5,3 iPad5,4;"
    "iPad Pro 12.9 inch:iPad6,7 iPad6,8;iPad Pro 9.7 inch:iPad6,3 iPad6,4;"
    "iPad Mini 1st Gen:iPad2,5 iPad2,6 iPad2,7;iPad Mini 2nd Gen:iPad4,4 iPad4,5 iPad4,6;"
    "iPad Mini 3rd Gen:iPad4,7 iPad4,8 iPad4,9;iPad Mini 4:iPad5,1 iPad5,2;";

// Every identifier of the listed shapes: the table's name, or else the name
// of its family.
TEST(DeviceTypeTest, ListedIdentifiersAreNamedExactlyAndTheRestByTheirFamily) {
  std::map<std::string, std::string> listed;
  std::istringstream models(kModels);
  for (std::string model; std::getline(models, model, ';');) {
    std::istringstream words(model.substr(model.find(':') + 1));
    for (std::string machine; words >> machine;) listed[machine] = model.substr(0, model.find(':'));
  }
  ASSERT_EQ(listed.size(), 66u);
  for (const std::string machine : {"i386", "x86_64"})
    EXPECT_EQ(getDeviceType(machine), "Simulator");
  for (const std::string family : {"iPhone", "iPad", "iPod"}) {
    for (int major = 1; major <= 12; ++major) {
      for (int minor = 1; minor <= 9; ++minor) {
        const std::string machine = family + std::to_string(major) + "," + std::to_string(minor);
        const std::string fallback = family == "iPod" ? "iPod Touch" : family;
        EXPECT_EQ(getDeviceType(machine), listed.contains(machine) ? listed[machine] : fallback)
            << machine;
      }
    }
  }
}

// Substrings anywhere, with iPod before iPad before iPhone; the table is
// matched exactly and case-sensitively.
TEST(DeviceTypeTest, UnlistedIdentifiersFallBackToTheFirstFamilyTheyContain) {
  EXPECT_EQ(getDeviceType("x-iPhone-iPad-iPod"), "iPod Touch");
  EXPECT_EQ(getDeviceType("iPhone-iPad"), "iPad");
  EXPECT_EQ(getDeviceType("iPhone7,2 "), "iPhone");
  for (const char* machine : {"iphone7,2", "X86_64", "arm64", "AppleTV5,3", ""}) {
    EXPECT_EQ(getDeviceType(machine), "Unknown") << machine;
  }
}

}  // namespace
}  // namespace orvanta

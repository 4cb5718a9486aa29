#include "device/device_type.h"

#include <unordered_map>

namespace orvanta {
namespace {

using ModelTable = std::unordered_map<std::string_view, std::string_view>;

// Built once, on first use, and only read afterwards. The names are the ones
// the server knows, odd spellings ("iPhone 6_Plus") included.
const ModelTable& modelTable() {
  static const ModelTable table = {
      {"i386", "Simulator"},
      {"x86_64", "Simulator"},
      {"iPod1,1", "iPod Touch 1st Gen"},
      {"iPod2,1", "iPod Touch 2nd Gen"},
      {"iPod3,1", "iPod Touch 3rd Gen"},
      {"iPod4,1", "iPod Touch 4th Gen"},
      {"iPod5,1", "iPod Touch 5th Gen"},
      {"iPod7,1", "iPod Touch 6th Gen"},
      {"iPhone1,1", "iPhone"},
      {"iPhone1,2", "iPhone 3G"},
      {"iPhone2,1", "iPhone 3GS"},
      {"iPhone3,1", "iPhone 4"},
      {"iPhone3,3", "iPhone 4"},
      {"iPhone4,1", "iPhone 4S"},
      {"iPhone5,1", "iPhone 5"},
      {"iPhone5,2", "iPhone 5"},
      {"iPhone5,3", "iPhone 5C"},
      {"iPhone5,4", "iPhone 5C"},
      {"iPhone6,1", "iPhone 5S"},
      {"iPhone6,2", "iPhone 5S"},
      {"iPhone7,1", "iPhone 6_Plus"},
      {"iPhone7,2", "iPhone 6"},
      {"iPhone8,1", "iPhone 6S"},
      {"iPhone8,2", "iPhone 6S_Plus"},
      {"iPhone8,4", "iPhone SE"},
      {"iPhone9,1", "iPhone 7"},
      {"iPhone9,3", "iPhone 7"},
      {"iPhone9,2", "iPhone 7_Plus"},
      {"iPhone9,4", "iPhone 7_Plus"},
      {"iPhone10,1", "iPhone 8"},
      {"iPhone10,4", "iPhone 8"},
      {"iPhone10,2", "iPhone 8_Plus"},
      {"iPhone10,5", "iPhone 8_Plus"},
      {"iPhone10,3", "iPhone X"},
      {"iPhone10,6", "iPhone X"},
      {"iPad1,1", "iPad"},
      {"iPad2,1", "iPad 2"},
      {"iPad2,2", "iPad 2"},
      {"iPad2,3", "iPad 2"},
      {"iPad2,4", "iPad 2"},
      {"iPad3,1", "iPad 3rd Gen"},
      {"iPad3,2", "iPad 3rd Gen"},
      {"iPad3,3", "iPad 3rd Gen"},
      {"iPad3,4", "iPad 4th Gen"},
      {"iPad3,5", "iPad 4th Gen"},
      {"iPad3,6", "iPad 4th Gen"},
      {"iPad4,1", "iPad Air"},
      {"iPad4,2", "iPad Air"},
      {"iPad4,3", "iPad Air"},
      {"iPad5,3", "iPad Air 2"},
      {"iPad5,4", "iPad Air 2"},
      {"iPad6,7", "iPad Pro 12.9 inch"},
      {"iPad6,8", "iPad Pro 12.9 inch"},
      {"iPad6,3", "iPad Pro 9.7 inch"},
      {"iPad6,4", "iPad Pro 9.7 inch"},
      {"iPad2,5", "iPad Mini 1st Gen"},
      {"iPad2,6", "iPad Mini 1st Gen"},
      {"iPad2,7", "iPad Mini 1st Gen"},
      {"iPad4,4", "iPad Mini 2nd Gen"},
      {"iPad4,5", "iPad Mini 2nd Gen"},
      {"iPad4,6", "iPad Mini 2nd Gen"},
      {"iPad4,7", "iPad Mini 3rd Gen"},
      {"iPad4,8", "iPad Mini 3rd Gen"},
      {"iPad4,9", "iPad Mini 3rd Gen"},
      {"iPad5,1", "iPad Mini 4"},
      {"iPad5,2", "iPad Mini 4"},
  };
  return table;
}

}  // namespace

std::string getDeviceType(std::string_view machine) {
  const ModelTable& table = modelTable();
  if (const auto found = table.find(machine); found != table.end()) return std::string(found->second);
  // Models newer than the table still name their family.
  if (machine.find("iPod") != std::string_view::npos) return "iPod Touch";
  if (machine.find("iPad") != std::string_view::npos) return "iPad";
  if (machine.find("iPhone") != std::string_view::npos) return "iPhone";
  return "Unknown";
}

std::string getDeviceType(const AppHost& host) { return getDeviceType(host.machineIdentifier()); }

}  // namespace orvanta

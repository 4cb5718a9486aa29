#include "platform/linux/linux_clock.h"

#include <langinfo.h>
#include <locale.h>

#include <chrono>
#include <ctime>
#include <memory>
#include <type_traits>

namespace orvanta {
namespace {

using LocaleHandle = std::unique_ptr<std::remove_pointer_t<locale_t>, decltype(&freelocale)>;

constexpr std::array<const char*, 7> kEnglishWeekdays = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                                                         "Thursday", "Friday", "Saturday"};

// The weekday names of the locale the environment names for LC_TIME, without
// touching the process's global locale.
std::array<std::string, 7> deviceWeekdayNames() {
  std::array<std::string, 7> names;
  for (std::size_t i = 0; i < names.size(); ++i) names[i] = kEnglishWeekdays[i];
  const LocaleHandle locale(newlocale(LC_TIME_MASK, "", static_cast<locale_t>(nullptr)), &freelocale);
  if (!locale) return names;
  constexpr std::array<nl_item, 7> kItems = {DAY_1, DAY_2, DAY_3, DAY_4, DAY_5, DAY_6, DAY_7};
  for (std::size_t i = 0; i < names.size(); ++i) {
    const char* name = nl_langinfo_l(kItems[i], locale.get());
    if (name != nullptr && *name != '\0') names[i] = name;
  }
  return names;
}

}  // namespace

LinuxClock::LinuxClock() : weekdayNames_(deviceWeekdayNames()) { tzset(); }

Date LinuxClock::now() const {
  const std::chrono::duration<double> sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
  return Date{sinceEpoch.count()};
}

LocalTime LinuxClock::toLocal(long long t) const {
  const auto instant = static_cast<std::time_t>(t);
  std::tm fields{};
  LocalTime local;
  if (localtime_r(&instant, &fields) == nullptr) return local;  // beyond the C library's years
  local.year = fields.tm_year + 1900;
  local.month = fields.tm_mon + 1;
  local.day = fields.tm_mday;
  local.hour = fields.tm_hour;
  local.minute = fields.tm_min;
  local.second = fields.tm_sec;
  local.weekday = fields.tm_wday;
  local.utcOffsetSeconds = fields.tm_gmtoff;
  return local;
}

long long LinuxClock::fromLocal(const LocalTime& local) const {
  std::tm fields{};
  fields.tm_year = local.year - 1900;
  fields.tm_mon = local.month - 1;
  fields.tm_mday = local.day;
  fields.tm_hour = local.hour;
  fields.tm_min = local.minute;
  fields.tm_sec = local.second;
  fields.tm_isdst = -1;
  return static_cast<long long>(std::mktime(&fields));
}

std::string LinuxClock::weekdayName(int weekday) const {
  return weekdayNames_[static_cast<std::size_t>(((weekday % 7) + 7) % 7)];
}

}  // namespace orvanta

// Where each in-app rule's frequency record lives: the standard settings
// suite, under the rule's id exactly as the server sent it, one entry per id
// ever seen (never removed).
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

#include "inapp/frequency_capping.h"
#include "orvanta/platform/settings_store.h"

namespace orvanta {

class DateFormator;
class OrvantaDataModel;

// Any thread. A record is read, changed and written back in several steps
// (the merge of a downloaded cap, the check that counts a showing); hold()
// keeps every other such sequence out meanwhile. Every collaborator must
// outlive it.
class FrequencyRecordStore {
 public:
  FrequencyRecordStore(SettingsStore& standardSettings, const DateFormator& dates, const OrvantaDataModel& model);

  // The same records seen through another settings store (the dry run's
  // scratch layer over settings()).
  FrequencyRecordStore over(SettingsStore& settings) const;
  const SettingsStore& settings() const { return settings_; }

  // The stored record of id; nullopt without an id, without an entry, or when
  // the entry does not read as a record (then the rule counts as uncapped).
  std::optional<OrvantaFrequencyCapping> getSavedFrequencyWithId(const std::optional<std::string>& id) const;
  // Stores the record under id and persists the suite; answers the flush's
  // success. Without an id nothing happens and the answer is false.
  bool setSavedFrequency(const OrvantaFrequencyCapping& record, const std::optional<std::string>& id);
  // Stores without persisting yet, for a batch that synchronize()s once.
  void storeFrequency(const OrvantaFrequencyCapping& record, const std::string& id);
  bool synchronize();
  // Counts one showing in the stored record of id (a fresh read, not a
  // caller's copy); a "day" record also takes today as its display day.
  // Nothing happens without an id or a record. The count may go below zero.
  void decreaseFrequencyForRule(const std::optional<std::string>& id);

  std::string currentSessionId() const;
  std::int64_t todaysDay() const;

  [[nodiscard]] std::unique_lock<std::recursive_mutex> hold();

 private:
  SettingsStore& settings_;
  const DateFormator& dates_;
  const OrvantaDataModel& model_;
  std::recursive_mutex sequence_;
};

}  // namespace orvanta

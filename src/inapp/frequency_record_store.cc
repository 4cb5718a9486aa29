#include "inapp/frequency_record_store.h"

#include "core/data_model.h"
#include "device/date_formator.h"

namespace orvanta {

FrequencyRecordStore::FrequencyRecordStore(SettingsStore& standardSettings, const DateFormator& dates,
                                           const OrvantaDataModel& model)
    : settings_(standardSettings), dates_(dates), model_(model) {}

FrequencyRecordStore FrequencyRecordStore::over(SettingsStore& settings) const {
  return FrequencyRecordStore(settings, dates_, model_);
}

std::optional<OrvantaFrequencyCapping> FrequencyRecordStore::getSavedFrequencyWithId(
    const std::optional<std::string>& id) const {
  if (!id) return std::nullopt;
  const std::optional<Value> stored = settings_.get(*id);
  if (!stored) return std::nullopt;
  return OrvantaFrequencyCapping::initWithCoder(*stored);
}

bool FrequencyRecordStore::setSavedFrequency(const OrvantaFrequencyCapping& record,
                                             const std::optional<std::string>& id) {
  if (!id) return false;
  storeFrequency(record, *id);
  return synchronize();
}

void FrequencyRecordStore::storeFrequency(const OrvantaFrequencyCapping& record, const std::string& id) {
  settings_.set(id, record.encodeWithCoder());
}

bool FrequencyRecordStore::synchronize() { return settings_.synchronize(); }

void FrequencyRecordStore::decreaseFrequencyForRule(const std::optional<std::string>& id) {
  if (!id) return;
  auto held = hold();
  std::optional<OrvantaFrequencyCapping> record = getSavedFrequencyWithId(id);
  if (!record) return;  // nothing to count in: an unread record stays uncapped
  if (OrvantaFrequencyCapping::getFrequencyWithType(record->frequencyType) == frequency_kind::kDay) {
    record->displayDay = todaysDay();
  }
  record->frequencyRemaining -= 1;
  setSavedFrequency(*record, id);
}

std::string FrequencyRecordStore::currentSessionId() const { return model_.strSessionid(); }

std::int64_t FrequencyRecordStore::todaysDay() const { return dates_.getTodaysDay(); }

std::unique_lock<std::recursive_mutex> FrequencyRecordStore::hold() {
  return std::unique_lock<std::recursive_mutex>(sequence_);
}

}  // namespace orvanta

#include "core/data_model.h"

namespace orvanta {

std::string OrvantaDataModel::strPushId() const { return read(strPushId_); }
void OrvantaDataModel::setStrPushId(std::string v) { write(strPushId_, std::move(v)); }
std::string OrvantaDataModel::strAppVersion() const { return read(strAppVersion_); }
void OrvantaDataModel::setStrAppVersion(std::string v) { write(strAppVersion_, std::move(v)); }
std::int64_t OrvantaDataModel::SessionIdTimeoutInMinutes() const { return read(SessionIdTimeoutInMinutes_); }
void OrvantaDataModel::setSessionIdTimeoutInMinutes(std::int64_t v) { write(SessionIdTimeoutInMinutes_, std::move(v)); }
std::string OrvantaDataModel::strOSVersion() const { return read(strOSVersion_); }
void OrvantaDataModel::setStrOSVersion(std::string v) { write(strOSVersion_, std::move(v)); }
std::string OrvantaDataModel::strOSType() const { return read(strOSType_); }
void OrvantaDataModel::setStrOSType(std::string v) { write(strOSType_, std::move(v)); }
std::string OrvantaDataModel::strSDKVersion() const { return read(strSDKVersion_); }
void OrvantaDataModel::setStrSDKVersion(std::string v) { write(strSDKVersion_, std::move(v)); }
std::string OrvantaDataModel::strAppID() const { return read(strAppID_); }
void OrvantaDataModel::setStrAppID(std::string v) { write(strAppID_, std::move(v)); }
std::string OrvantaDataModel::strSessionid() const { return read(strSessionid_); }
void OrvantaDataModel::setStrSessionid(std::string v) { write(strSessionid_, std::move(v)); }
std::optional<std::string> OrvantaDataModel::prevTrackingEventTime() const { return read(prevTrackingEventTime_); }
void OrvantaDataModel::setPrevTrackingEventTime(std::optional<std::string> v) { write(prevTrackingEventTime_, std::move(v)); }
std::string OrvantaDataModel::strIdentity() const { return read(strIdentity_); }
void OrvantaDataModel::setStrIdentity(std::string v) { write(strIdentity_, std::move(v)); }
std::optional<Value> OrvantaDataModel::deviceToken() const { return read(deviceToken_); }
void OrvantaDataModel::setDeviceToken(std::optional<Value> v) { write(deviceToken_, std::move(v)); }
std::optional<Date> OrvantaDataModel::intializationDate() const { return read(intializationDate_); }
void OrvantaDataModel::setIntializationDate(std::optional<Date> v) { write(intializationDate_, std::move(v)); }
std::optional<std::string> OrvantaDataModel::strUserAgent() const { return read(strUserAgent_); }
void OrvantaDataModel::setStrUserAgent(std::optional<std::string> v) { write(strUserAgent_, std::move(v)); }
std::optional<std::string> OrvantaDataModel::atcm() const { return read(atcm_); }
void OrvantaDataModel::setAtcm(std::optional<std::string> v) { write(atcm_, std::move(v)); }
std::optional<std::string> OrvantaDataModel::atcs() const { return read(atcs_); }
void OrvantaDataModel::setAtcs(std::optional<std::string> v) { write(atcs_, std::move(v)); }
std::optional<std::string> OrvantaDataModel::atci() const { return read(atci_); }
void OrvantaDataModel::setAtci(std::optional<std::string> v) { write(atci_, std::move(v)); }
std::optional<Map> OrvantaDataModel::deeplinkQueryParam() const { return read(deeplinkQueryParam_); }
void OrvantaDataModel::setDeeplinkQueryParam(std::optional<Map> v) { write(deeplinkQueryParam_, std::move(v)); }

}  // namespace orvanta

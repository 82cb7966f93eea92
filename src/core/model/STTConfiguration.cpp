#include "model/STTConfiguration.h"

#include "model/DeploymentDefaults.h"
#include "model/JsonReader.h"
#include "model/JsonWriting.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

STTConfiguration STTConfiguration::defaults() {
    STTConfiguration config;
    config.baseURL = QString::fromUtf16(DeploymentDefaults::backendURL);
    config.updateManifestURL = QString::fromUtf16(DeploymentDefaults::updateManifestURL);
    return config;
}

STTConfiguration STTConfiguration::fromJson(const JsonReader& json) {
    const STTConfiguration fallback = defaults();
    STTConfiguration config;
    config.baseURL = json.optionalString(u"baseURL"_s).value_or(fallback.baseURL);
    config.apiKey = json.optionalString(u"apiKey"_s).value_or(fallback.apiKey);
    config.updateManifestURL =
        json.optionalString(u"updateManifestURL"_s).value_or(fallback.updateManifestURL);
    config.defaultLanguage =
        json.optionalString(u"defaultLanguage"_s).value_or(fallback.defaultLanguage);
    config.defaultModel = json.optionalString(u"defaultModel"_s).value_or(fallback.defaultModel);
    config.preferredInputDeviceID = json.optionalUInt32(u"preferredInputDeviceID"_s);
    config.preferredSystemDisplayID = json.optionalUInt32(u"preferredSystemDisplayID"_s);
    config.preferredSystemApplicationBundleID =
        json.optionalString(u"preferredSystemApplicationBundleID"_s);
    config.allowSystemFallback =
        json.optionalBool(u"allowSystemFallback"_s).value_or(fallback.allowSystemFallback);
    config.mixedMicGain = MixSettings::clampGain(
        json.optionalDouble(u"mixedMicGain"_s).value_or(fallback.mixedMicGain));
    config.mixedSystemGain = MixSettings::clampGain(
        json.optionalDouble(u"mixedSystemGain"_s).value_or(fallback.mixedSystemGain));
    config.mixedAutoDuckEnabled =
        json.optionalBool(u"mixedAutoDuckEnabled"_s).value_or(fallback.mixedAutoDuckEnabled);
    config.mixedDuckingStrength = MixSettings::clampDuckingStrength(
        json.optionalDouble(u"mixedDuckingStrength"_s).value_or(fallback.mixedDuckingStrength));
    config.mixedLimiterEnabled =
        json.optionalBool(u"mixedLimiterEnabled"_s).value_or(fallback.mixedLimiterEnabled);
    // Echo guard
    config.echoGuardEnabled =
        json.optionalBool(u"echoGuardEnabled"_s).value_or(fallback.echoGuardEnabled);
    config.audioSpoolEnabled =
        json.optionalBool(u"audioSpoolEnabled"_s).value_or(fallback.audioSpoolEnabled);
    config.autoStopSilenceMinutes = static_cast<int>(std::clamp<qint64>(
        json.optionalInteger(u"autoStopSilenceMinutes"_s).value_or(fallback.autoStopSilenceMinutes),
        0, maxAutoStopSilenceMinutes));
    return config;
}

QJsonObject STTConfiguration::toJson() const {
    QJsonObject object{
        {u"baseURL"_s, baseURL},
        {u"apiKey"_s, apiKey},
        {u"updateManifestURL"_s, updateManifestURL},
        {u"defaultLanguage"_s, defaultLanguage},
        {u"defaultModel"_s, defaultModel},
        {u"allowSystemFallback"_s, allowSystemFallback},
        {u"mixedMicGain"_s, jsonFiniteNumber(u"mixedMicGain"_s, mixedMicGain)},
        {u"mixedSystemGain"_s, jsonFiniteNumber(u"mixedSystemGain"_s, mixedSystemGain)},
        {u"mixedAutoDuckEnabled"_s, mixedAutoDuckEnabled},
        {u"mixedDuckingStrength"_s,
         jsonFiniteNumber(u"mixedDuckingStrength"_s, mixedDuckingStrength)},
        {u"mixedLimiterEnabled"_s, mixedLimiterEnabled},
        {u"echoGuardEnabled"_s, echoGuardEnabled}, // echo guard
        {u"audioSpoolEnabled"_s, audioSpoolEnabled},
        {u"autoStopSilenceMinutes"_s, autoStopSilenceMinutes},
    };
    insertIfPresent(object, u"preferredInputDeviceID"_s, preferredInputDeviceID);
    insertIfPresent(object, u"preferredSystemDisplayID"_s, preferredSystemDisplayID);
    insertIfPresent(object, u"preferredSystemApplicationBundleID"_s,
                    preferredSystemApplicationBundleID);
    return object;
}

MixSettings STTConfiguration::mixSettings() const {
    return MixSettings{mixedMicGain, mixedSystemGain, mixedAutoDuckEnabled, mixedDuckingStrength,
                       mixedLimiterEnabled};
}

void STTConfiguration::setMixSettings(const MixSettings& settings) {
    mixedMicGain = settings.micGain;
    mixedSystemGain = settings.systemGain;
    mixedAutoDuckEnabled = settings.autoDuckEnabled;
    mixedDuckingStrength = settings.duckingStrength;
    mixedLimiterEnabled = settings.limiterEnabled;
}

} // namespace vesnara

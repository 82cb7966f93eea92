#include "storage/STTConfigurationStore.h"

#include "model/JsonReader.h"
#include "model/JsonWriting.h"
#include "storage/Preferences.h"

#include <QJsonDocument>

namespace vesnara {

STTConfigurationStore::STTConfigurationStore(Preferences& preferences)
    : m_preferences(preferences) {}

STTConfiguration STTConfigurationStore::load() const {
    const auto bytes = m_preferences.bytes(key);
    if (!bytes)
        return STTConfiguration::defaults();
    try {
        return STTConfiguration::fromJson(JsonReader(JsonReader::parseObject(*bytes)));
    } catch (const JsonDecodeError&) {
        return STTConfiguration::defaults();
    }
}

void STTConfigurationStore::save(const STTConfiguration& config) {
    try {
        m_preferences.setBytes(key, QJsonDocument(config.toJson()).toJson(QJsonDocument::Compact));
    } catch (const JsonEncodeError&) {
    }
}

} // namespace vesnara

#include "storage/SettingsPreferences.h"

#include "storage/UserDirectories.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

// QSettings treats '/' and '\' in a key as groups; our keys are flat names such as
// "vesnara.mac.config", so they are stored as they stand.
std::optional<QVariant> storedValue(const QSettings& settings, const QString& key) {
    if (!settings.contains(key))
        return std::nullopt;
    return settings.value(key);
}

} // namespace

SettingsPreferences::SettingsPreferences()
    : SettingsPreferences(UserDirectories::settingsFile()) {}

SettingsPreferences::SettingsPreferences(const QString& filePath)
    : m_settings(std::make_unique<QSettings>(filePath, QSettings::IniFormat)) {}

SettingsPreferences::~SettingsPreferences() = default;

std::optional<QByteArray> SettingsPreferences::bytes(const QString& key) const {
    const auto value = storedValue(*m_settings, key);
    if (!value || value->metaType() != QMetaType::fromType<QByteArray>())
        return std::nullopt;
    return value->toByteArray();
}

void SettingsPreferences::setBytes(const QString& key, const QByteArray& value) {
    m_settings->setValue(key, value);
}

std::optional<QString> SettingsPreferences::string(const QString& key) const {
    const auto value = storedValue(*m_settings, key);
    if (!value || value->metaType() != QMetaType::fromType<QString>())
        return std::nullopt;
    return value->toString();
}

void SettingsPreferences::setString(const QString& key, const QString& value) {
    m_settings->setValue(key, value);
}

std::optional<bool> SettingsPreferences::boolean(const QString& key) const {
    const auto value = storedValue(*m_settings, key);
    if (!value)
        return std::nullopt;
    // An INI file holds booleans as the strings "true" and "false".
    if (value->metaType() == QMetaType::fromType<bool>())
        return value->toBool();
    if (value->metaType() == QMetaType::fromType<QString>()) {
        const QString text = value->toString();
        if (text == u"true"_s)
            return true;
        if (text == u"false"_s)
            return false;
    }
    return std::nullopt;
}

void SettingsPreferences::setBoolean(const QString& key, bool value) {
    m_settings->setValue(key, value);
}

void SettingsPreferences::remove(const QString& key) {
    m_settings->remove(key);
}

void SettingsPreferences::sync() {
    m_settings->sync();
}

} // namespace vesnara

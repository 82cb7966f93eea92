#include "support/InMemoryPreferences.h"

namespace vesnara {

namespace {

template <typename T>
std::optional<T> valueOfType(const QHash<QString, QVariant>& values, const QString& key) {
    const auto it = values.constFind(key);
    if (it == values.constEnd() || it->metaType() != QMetaType::fromType<T>())
        return std::nullopt;
    return it->value<T>();
}

} // namespace

std::optional<QByteArray> InMemoryPreferences::bytes(const QString& key) const {
    return valueOfType<QByteArray>(m_values, key);
}

void InMemoryPreferences::setBytes(const QString& key, const QByteArray& value) {
    m_values.insert(key, value);
}

std::optional<QString> InMemoryPreferences::string(const QString& key) const {
    return valueOfType<QString>(m_values, key);
}

void InMemoryPreferences::setString(const QString& key, const QString& value) {
    m_values.insert(key, value);
}

std::optional<bool> InMemoryPreferences::boolean(const QString& key) const {
    return valueOfType<bool>(m_values, key);
}

void InMemoryPreferences::setBoolean(const QString& key, bool value) {
    m_values.insert(key, value);
}

void InMemoryPreferences::remove(const QString& key) {
    m_values.remove(key);
}

} // namespace vesnara

#pragma once

#include "storage/Preferences.h"

#include <QHash>
#include <QVariant>

namespace vesnara {

/// Preferences that live as long as the object; for tests and for runs that must leave no trace.
class InMemoryPreferences final : public Preferences {
public:
    std::optional<QByteArray> bytes(const QString& key) const override;
    void setBytes(const QString& key, const QByteArray& value) override;
    std::optional<QString> string(const QString& key) const override;
    void setString(const QString& key, const QString& value) override;
    std::optional<bool> boolean(const QString& key) const override;
    void setBoolean(const QString& key, bool value) override;
    void remove(const QString& key) override;

    bool contains(const QString& key) const { return m_values.contains(key); }

private:
    QHash<QString, QVariant> m_values;
};

} // namespace vesnara

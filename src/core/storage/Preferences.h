#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace vesnara {

/// The user's persistent preferences: small values under string keys.
/// Reads of a missing key, or of a value of another kind, give nothing.
class Preferences {
public:
    virtual ~Preferences() = default;

    virtual std::optional<QByteArray> bytes(const QString& key) const = 0;
    virtual void setBytes(const QString& key, const QByteArray& value) = 0;
    virtual std::optional<QString> string(const QString& key) const = 0;
    virtual void setString(const QString& key, const QString& value) = 0;
    virtual std::optional<bool> boolean(const QString& key) const = 0;
    virtual void setBoolean(const QString& key, bool value) = 0;
    virtual void remove(const QString& key) = 0;
};

} // namespace vesnara

#pragma once

#include "model/STTConfiguration.h"

#include <QString>

namespace vesnara {

class Preferences;

/// Keeps the configuration as one JSON value in the user's preferences.
class STTConfigurationStore {
public:
    static inline const QString key = QStringLiteral("vesnara.mac.config");

    /// The preferences must outlive the store.
    explicit STTConfigurationStore(Preferences& preferences);

    /// Never fails: a missing or unreadable value gives `STTConfiguration::defaults()`, silently.
    STTConfiguration load() const;
    /// Never fails: a record that cannot be encoded leaves the stored value as it was.
    void save(const STTConfiguration& config);

private:
    Preferences& m_preferences;
};

} // namespace vesnara

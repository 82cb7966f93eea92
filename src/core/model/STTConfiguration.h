#pragma once

#include "model/MixPreset.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// Everything the application remembers between runs about reaching the speech backend and
/// capturing and mixing audio. A value type: each request gets its own copy.
struct STTConfiguration {
    QString baseURL;
    QString apiKey;
    /// The signed-in user's session token. Memory only: never written, never read.
    std::optional<QString> authToken;
    QString updateManifestURL;
    QString defaultLanguage = QStringLiteral("fi-FI");
    QString defaultModel = QStringLiteral("chirp_3");
    /// No value means the automatic choice.
    std::optional<quint32> preferredInputDeviceID;
    std::optional<quint32> preferredSystemDisplayID;
    /// No value means all applications.
    std::optional<QString> preferredSystemApplicationBundleID;
    bool allowSystemFallback = true;
    double mixedMicGain = 1.0;
    double mixedSystemGain = 1.0;
    bool mixedAutoDuckEnabled = true;
    double mixedDuckingStrength = 0.55;
    bool mixedLimiterEnabled = true;
    // Echo guard: cancel the system audio's echo in the microphone before mixing (mixed mode
    // only).
    bool echoGuardEnabled = true;
    // Recording safety: the outage spool and the auto-stop of a forgotten recording.
    /// Audio captured while the stream reconnects is kept and sent when it is back.
    bool audioSpoolEnabled = true;
    /// Minutes of silence on every source without a new line before the auto-stop notice; 0 is
    /// off. Read values are clamped to 0…`maxAutoStopSilenceMinutes`.
    int autoStopSilenceMinutes = 20;
    static constexpr int maxAutoStopSilenceMinutes = 24 * 60;

    /// The record every missing key falls back to: the compiled-in backend and update manifest,
    /// an empty API key (the shared key is filled in at startup, not here).
    static STTConfiguration defaults();

    /// Tolerant decoding: every key is optional and a missing or null key takes its default;
    /// the doubles are clamped to their bounds as they are read. A present key of the wrong
    /// JSON type still fails the whole record with `JsonDecodeError`.
    static STTConfiguration fromJson(const JsonReader& json);
    /// Leaves out `authToken` and optional fields without a value.
    /// Throws `JsonEncodeError` for a number that is not finite.
    QJsonObject toJson() const;

    MixSettings mixSettings() const;
    void setMixSettings(const MixSettings& settings);

    friend bool operator==(const STTConfiguration&, const STTConfiguration&) = default;
};

} // namespace vesnara

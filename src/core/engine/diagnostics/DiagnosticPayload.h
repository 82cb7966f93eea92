#pragma once

#include "backend/ServerTranscriptResponse.h"
#include "backend/SessionMetaResponse.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <optional>

namespace vesnara {

/// The settings as support sees them: the API key only masked, no token of any kind.
struct DiagnosticConfigSnapshot {
    QString baseURL;
    QString apiKeyMasked;
    QString updateManifestURL;
    QString defaultLanguage;
    QString defaultModel;
    bool allowSystemFallback = true;
    /// The preset's raw value ("meeting", "interview", "webinar", "custom").
    QString mixedPreset;
    double mixedMicGain = 1.0;
    double mixedSystemGain = 1.0;
    bool mixedAutoDuckEnabled = true;
    double mixedDuckingStrength = 0.55;
    bool mixedLimiterEnabled = true;

    /// Throws `JsonEncodeError` for a number that is not finite.
    QJsonObject toJson() const;
};

/// The recording engine's state at the moment the package is made.
struct DiagnosticRuntimeSnapshot {
    QString language;
    QString sttModel;
    /// The input mode's raw value.
    QString inputMode;
    QString micLabel;
    QString systemDisplay;
    /// The application filter, or "auto" for none.
    QString systemApplication;
    bool isStartingRecording = false;
    bool isRecording = false;
    bool isResumingRecording = false;
    bool isPaused = false;
    qint64 audioFramesSent = 0;
    double outgoingAudioLevel = 0.0;
    double outgoingAudioPeak = 0.0;
    qint64 micFramesSeen = 0;
    double micAudioLevel = 0.0;
    double micAudioPeak = 0.0;
    qint64 systemRawSamplesSeen = 0;
    qint64 systemFramesSeen = 0;
    double systemAudioLevel = 0.0;
    double systemAudioPeak = 0.0;
    qint64 rawWithoutPCMStreak = 0;
    bool hasAttemptedSystemFallback = false;
    bool hasAttemptedMixedMicrophoneRestart = false;
    bool hasAttemptedMicrophoneDeviceFallback = false;

    /// Throws `JsonEncodeError` for a number that is not finite.
    QJsonObject toJson() const;
};

/// Everything one diagnostics file tells support. The server's records are kept decoded, so
/// nothing the server sent passes into the file unread.
struct DiagnosticExportPayload {
    /// ISO 8601 UTC, whole seconds.
    QString createdAt;
    QString sessionId;
    DiagnosticConfigSnapshot config;
    DiagnosticRuntimeSnapshot runtime;
    std::optional<SessionMetaResponse> sessionMeta;
    std::optional<ServerTranscriptResponse> transcript;
    QString logTail;

    /// Optional records are left out when absent. Throws `JsonEncodeError`.
    QJsonObject toJson() const;
};

/// The API key as support may see it, counted in user-perceived characters: empty stays empty,
/// up to 8 characters become as many bullets, a longer key keeps its first and last 4 around 8
/// bullets.
QString maskedAPIKey(const QString& key);

/// A URL as the package shows it: any user name and password in it are dropped.
QString urlWithoutCredentials(const QString& url);

/// The server's records as JSON again, with the server's own key names; absent fields are left
/// out. Throws `JsonEncodeError` for a number that is not finite.
QJsonObject sessionMetaJson(const SessionMetaResponse& meta);
QJsonObject serverTranscriptJson(const ServerTranscriptResponse& transcript);

/// The one JSON form of every diagnostics file: indented, keys sorted.
QByteArray diagnosticJsonBytes(const QJsonObject& object);

} // namespace vesnara

#include "engine/diagnostics/DiagnosticPayload.h"

#include "model/JsonWriting.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QTextBoundaryFinder>
#include <QUrl>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

void insertIfPresent(QJsonObject& object, const QString& key, const std::optional<qint64>& value) {
    if (value)
        object.insert(key, *value);
}

void insertIfPresent(QJsonObject& object, const QString& key, const std::optional<double>& value) {
    if (value)
        object.insert(key, jsonFiniteNumber(key, *value));
}

} // namespace

QJsonObject DiagnosticConfigSnapshot::toJson() const {
    return {
        {u"baseURL"_s, baseURL},
        {u"apiKeyMasked"_s, apiKeyMasked},
        {u"updateManifestURL"_s, updateManifestURL},
        {u"defaultLanguage"_s, defaultLanguage},
        {u"defaultModel"_s, defaultModel},
        {u"allowSystemFallback"_s, allowSystemFallback},
        {u"mixedPreset"_s, mixedPreset},
        {u"mixedMicGain"_s, jsonFiniteNumber(u"mixedMicGain"_s, mixedMicGain)},
        {u"mixedSystemGain"_s, jsonFiniteNumber(u"mixedSystemGain"_s, mixedSystemGain)},
        {u"mixedAutoDuckEnabled"_s, mixedAutoDuckEnabled},
        {u"mixedDuckingStrength"_s,
         jsonFiniteNumber(u"mixedDuckingStrength"_s, mixedDuckingStrength)},
        {u"mixedLimiterEnabled"_s, mixedLimiterEnabled},
    };
}

QJsonObject DiagnosticRuntimeSnapshot::toJson() const {
    return {
        {u"language"_s, language},
        {u"sttModel"_s, sttModel},
        {u"inputMode"_s, inputMode},
        {u"micLabel"_s, micLabel},
        {u"systemDisplay"_s, systemDisplay},
        {u"systemApplication"_s, systemApplication},
        {u"isStartingRecording"_s, isStartingRecording},
        {u"isRecording"_s, isRecording},
        {u"isResumingRecording"_s, isResumingRecording},
        {u"isPaused"_s, isPaused},
        {u"audioFramesSent"_s, audioFramesSent},
        {u"outgoingAudioLevel"_s, jsonFiniteNumber(u"outgoingAudioLevel"_s, outgoingAudioLevel)},
        {u"outgoingAudioPeak"_s, jsonFiniteNumber(u"outgoingAudioPeak"_s, outgoingAudioPeak)},
        {u"micFramesSeen"_s, micFramesSeen},
        {u"micAudioLevel"_s, jsonFiniteNumber(u"micAudioLevel"_s, micAudioLevel)},
        {u"micAudioPeak"_s, jsonFiniteNumber(u"micAudioPeak"_s, micAudioPeak)},
        {u"systemRawSamplesSeen"_s, systemRawSamplesSeen},
        {u"systemFramesSeen"_s, systemFramesSeen},
        {u"systemAudioLevel"_s, jsonFiniteNumber(u"systemAudioLevel"_s, systemAudioLevel)},
        {u"systemAudioPeak"_s, jsonFiniteNumber(u"systemAudioPeak"_s, systemAudioPeak)},
        {u"rawWithoutPCMStreak"_s, rawWithoutPCMStreak},
        {u"hasAttemptedSystemFallback"_s, hasAttemptedSystemFallback},
        {u"hasAttemptedMixedMicrophoneRestart"_s, hasAttemptedMixedMicrophoneRestart},
        {u"hasAttemptedMicrophoneDeviceFallback"_s, hasAttemptedMicrophoneDeviceFallback},
    };
}

QJsonObject DiagnosticExportPayload::toJson() const {
    QJsonObject object{
        {u"createdAt"_s, createdAt},    {u"sessionId"_s, sessionId},
        {u"config"_s, config.toJson()}, {u"runtime"_s, runtime.toJson()},
        {u"logTail"_s, logTail},
    };
    if (sessionMeta)
        object.insert(u"sessionMeta"_s, sessionMetaJson(*sessionMeta));
    if (transcript)
        object.insert(u"transcript"_s, serverTranscriptJson(*transcript));
    return object;
}

QString maskedAPIKey(const QString& key) {
    static const QString bullets = QString(8, QChar(0x2022));
    if (key.isEmpty())
        return {};
    QList<qsizetype> boundaries;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, key);
    for (qsizetype at = finder.toNextBoundary(); at != -1; at = finder.toNextBoundary())
        boundaries << at;
    // `boundaries` holds the end of each grapheme; the last is the key's length.
    const qsizetype count = boundaries.size();
    if (count <= 8)
        return QString(count, QChar(0x2022));
    const qsizetype headEnd = boundaries.at(3);
    const qsizetype tailStart = boundaries.at(count - 5);
    return key.left(headEnd) + bullets + key.mid(tailStart);
}

QString urlWithoutCredentials(const QString& url) {
    const QUrl parsed(url);
    if (!parsed.isValid() || parsed.userInfo().isEmpty())
        return url;
    return parsed.adjusted(QUrl::RemoveUserInfo).toString();
}

QJsonObject sessionMetaJson(const SessionMetaResponse& meta) {
    QJsonObject object;
    insertIfPresent(object, u"id"_s, meta.id);
    insertIfPresent(object, u"status"_s, meta.status);
    insertIfPresent(object, u"createdAt"_s, meta.createdAt);
    insertIfPresent(object, u"endedAt"_s, meta.endedAt);
    insertIfPresent(object, u"language"_s, meta.language);
    insertIfPresent(object, u"sttModel"_s, meta.sttModel);
    insertIfPresent(object, u"audioFrameCount"_s, meta.audioFrameCount);
    insertIfPresent(object, u"audioBytes"_s, meta.audioBytes);
    insertIfPresent(object, u"avgAudioLevel"_s, meta.avgAudioLevel);
    insertIfPresent(object, u"peakAudioLevel"_s, meta.peakAudioLevel);
    insertIfPresent(object, u"interimCount"_s, meta.interimCount);
    insertIfPresent(object, u"finalCount"_s, meta.finalCount);
    insertIfPresent(object, u"segmentCount"_s, meta.segmentCount);
    if (meta.lastSttError) {
        QJsonObject error;
        insertIfPresent(error, u"at"_s, meta.lastSttError->at);
        insertIfPresent(error, u"code"_s, meta.lastSttError->code);
        insertIfPresent(error, u"message"_s, meta.lastSttError->message);
        object.insert(u"lastSttError"_s, error);
    }
    return object;
}

QJsonObject serverTranscriptJson(const ServerTranscriptResponse& transcript) {
    QJsonArray segments;
    for (const auto& segment : transcript.segments) {
        QJsonObject line{{u"text"_s, segment.text}};
        insertIfPresent(line, u"ts"_s, segment.ts);
        insertIfPresent(line, u"speakerLabel"_s, segment.speakerLabel);
        segments.append(line);
    }
    return {{u"sessionId"_s, transcript.sessionId}, {u"segments"_s, segments}};
}

QByteArray diagnosticJsonBytes(const QJsonObject& object) {
    // QJsonObject keeps its keys sorted, so the indented form is sorted as well.
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

} // namespace vesnara

#pragma once

#include "model/Timestamp.h"

#include <QJsonObject>
#include <QList>
#include <QString>

#include <optional>

namespace vesnara::refbackend {

/// One final line as the server keeps it: the time stamp is the wire's ISO text.
struct TranscriptLine {
    QString text;
    QString ts;
    std::optional<QString> speakerLabel;
};

/// The last error the recogniser reported for a session.
struct SttErrorInfo {
    QString at;
    int code = 0;
    QString message;
};

/// A recording session on the server: what it was created with, what its stream delivered,
/// and its transcript.
struct ServerSession {
    QString id;
    /// Subject of the token that created it; only its owner sees it.
    QString owner;
    /// "active" until stopped, then "stopped".
    QString status = QStringLiteral("active");
    Timestamp createdAt;
    std::optional<Timestamp> endedAt;
    QString language;
    QString sttModel;
    bool enableInterim = true;
    /// Secret that the stream address carries; the stream accepts nothing else.
    QString streamToken;

    qint64 audioFrameCount = 0;
    qint64 audioBytes = 0;
    /// Sum of |sample| over every sample received, for the mean absolute level.
    double absoluteSampleSum = 0.0;
    qint64 sampleCount = 0;
    double peakAudioLevel = 0.0;
    qint64 interimCount = 0;
    qint64 finalCount = 0;
    QList<TranscriptLine> segments;
    std::optional<SttErrorInfo> lastSttError;
    /// The latest memo, as sent to the client, once one has been generated.
    std::optional<QJsonObject> summary;

    bool isStopped() const { return status == QStringLiteral("stopped"); }
    /// Mean absolute sample value of everything received, 0…1.
    double averageAudioLevel() const;
    /// Counts one audio frame of 16-bit PCM into the levels and counters.
    void countAudioFrame(QByteArrayView pcm);

    /// The session's meta as clients read it.
    QJsonObject metaJson() const;
    /// `{"sessionId":…, "segments":[…]}`.
    QJsonObject transcriptJson() const;

    /// The form kept on disk; `fromStorageJson` gives nothing for anything it cannot read.
    QJsonObject toStorageJson() const;
    static std::optional<ServerSession> fromStorageJson(const QJsonObject& json);
};

/// Level of one frame: mean absolute sample value / 32768.
double frameLevel(QByteArrayView pcm);

} // namespace vesnara::refbackend

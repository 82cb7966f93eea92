#include "refbackend/ServerSession.h"

#include "model/JsonReader.h"

#include <QJsonArray>
#include <QtEndian>

#include <cmath>
#include <cstdlib>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

double absoluteSum(QByteArrayView pcm) {
    double sum = 0.0;
    const qsizetype samples = pcm.size() / 2;
    for (qsizetype i = 0; i < samples; ++i)
        sum += std::abs(static_cast<int>(qFromLittleEndian<qint16>(pcm.data() + 2 * i)));
    return sum;
}

QJsonObject lineJson(const TranscriptLine& line) {
    QJsonObject json{{u"text"_s, line.text}, {u"ts"_s, line.ts}};
    if (line.speakerLabel)
        json.insert(u"speakerLabel"_s, *line.speakerLabel);
    return json;
}

} // namespace

double frameLevel(QByteArrayView pcm) {
    const qsizetype samples = pcm.size() / 2;
    return samples == 0 ? 0.0 : absoluteSum(pcm) / static_cast<double>(samples) / 32768.0;
}

double ServerSession::averageAudioLevel() const {
    return sampleCount == 0 ? 0.0 : absoluteSampleSum / static_cast<double>(sampleCount) / 32768.0;
}

void ServerSession::countAudioFrame(QByteArrayView pcm) {
    ++audioFrameCount;
    audioBytes += pcm.size();
    absoluteSampleSum += absoluteSum(pcm);
    sampleCount += pcm.size() / 2;
    peakAudioLevel = std::max(peakAudioLevel, frameLevel(pcm));
}

QJsonObject ServerSession::metaJson() const {
    QJsonObject meta{
        {u"id"_s, id},
        {u"status"_s, status},
        {u"createdAt"_s, createdAt.toIso8601()},
        {u"language"_s, language},
        {u"sttModel"_s, sttModel},
        {u"audioFrameCount"_s, audioFrameCount},
        {u"audioBytes"_s, audioBytes},
        {u"avgAudioLevel"_s, averageAudioLevel()},
        {u"peakAudioLevel"_s, peakAudioLevel},
        {u"interimCount"_s, interimCount},
        {u"finalCount"_s, finalCount},
        {u"segmentCount"_s, segments.size()},
    };
    if (endedAt)
        meta.insert(u"endedAt"_s, endedAt->toIso8601());
    if (lastSttError) {
        meta.insert(u"lastSttError"_s, QJsonObject{{u"at"_s, lastSttError->at},
                                                   {u"code"_s, lastSttError->code},
                                                   {u"message"_s, lastSttError->message}});
    }
    return meta;
}

QJsonObject ServerSession::transcriptJson() const {
    QJsonArray lines;
    for (const auto& line : segments)
        lines.append(lineJson(line));
    return QJsonObject{{u"sessionId"_s, id}, {u"segments"_s, lines}};
}

QJsonObject ServerSession::toStorageJson() const {
    QJsonObject json = metaJson();
    json.insert(u"owner"_s, owner);
    json.insert(u"streamToken"_s, streamToken);
    json.insert(u"enableInterim"_s, enableInterim);
    json.insert(u"createdAtSeconds"_s, createdAt.secondsSinceReferenceDate());
    if (endedAt)
        json.insert(u"endedAtSeconds"_s, endedAt->secondsSinceReferenceDate());
    json.insert(u"absoluteSampleSum"_s, absoluteSampleSum);
    json.insert(u"sampleCount"_s, sampleCount);
    json.insert(u"segments"_s, transcriptJson().value(u"segments"_s));
    if (summary)
        json.insert(u"summary"_s, *summary);
    return json;
}

std::optional<ServerSession> ServerSession::fromStorageJson(const QJsonObject& object) {
    try {
        const JsonReader json(object);
        ServerSession session;
        session.id = json.requiredString(u"id"_s);
        session.owner = json.requiredString(u"owner"_s);
        session.status = json.requiredString(u"status"_s);
        session.createdAt =
            Timestamp::fromSecondsSinceReferenceDate(json.requiredDouble(u"createdAtSeconds"_s));
        if (const auto ended = json.optionalDouble(u"endedAtSeconds"_s))
            session.endedAt = Timestamp::fromSecondsSinceReferenceDate(*ended);
        session.language = json.requiredString(u"language"_s);
        session.sttModel = json.requiredString(u"sttModel"_s);
        session.enableInterim = json.optionalBool(u"enableInterim"_s).value_or(true);
        session.streamToken = json.requiredString(u"streamToken"_s);
        session.audioFrameCount = json.requiredInteger(u"audioFrameCount"_s);
        session.audioBytes = json.requiredInteger(u"audioBytes"_s);
        session.absoluteSampleSum = json.requiredDouble(u"absoluteSampleSum"_s);
        session.sampleCount = json.requiredInteger(u"sampleCount"_s);
        session.peakAudioLevel = json.requiredDouble(u"peakAudioLevel"_s);
        session.interimCount = json.requiredInteger(u"interimCount"_s);
        session.finalCount = json.requiredInteger(u"finalCount"_s);
        session.segments = json.requiredList(u"segments"_s, [](const JsonReader& line) {
            return TranscriptLine{line.requiredString(u"text"_s), line.requiredString(u"ts"_s),
                                  line.optionalString(u"speakerLabel"_s)};
        });
        if (const auto error = json.optionalObject(u"lastSttError"_s)) {
            const JsonReader errorJson(*error);
            session.lastSttError =
                SttErrorInfo{errorJson.optionalString(u"at"_s).value_or(QString()),
                             static_cast<int>(errorJson.optionalInteger(u"code"_s).value_or(0)),
                             errorJson.optionalString(u"message"_s).value_or(QString())};
        }
        session.summary = json.optionalObject(u"summary"_s);
        return session;
    } catch (const JsonDecodeError&) {
        return std::nullopt;
    }
}

} // namespace vesnara::refbackend

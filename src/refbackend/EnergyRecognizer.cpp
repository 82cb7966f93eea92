#include "refbackend/EnergyRecognizer.h"

#include <QJsonObject>
#include <QtEndian>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

// Texts the client shows as they are: Finnish, and honest that this is detection only.
const QString kPartialText = u"Puhetta havaittu… %1 s"_s;
const QString kFinalText = u"[Puhetta %1 s]"_s;

qint64 samplesFor(int milliseconds) {
    return qint64(milliseconds) * EnergyRecognizer::kSampleRate / 1000;
}

/// "2,4": seconds with one decimal and a decimal comma, whatever the process locale is.
QString secondsText(qint64 samples) {
    const double seconds = double(samples) / EnergyRecognizer::kSampleRate;
    return QString::number(seconds, 'f', 1).replace(u'.', u',');
}

} // namespace

EnergyRecognizer::EnergyRecognizer(Timestamp sessionStart, Settings settings)
    : m_sessionStart(sessionStart)
    , m_settings(settings) {}

void EnergyRecognizer::start(const QString& /*language*/, const QString& /*sttModel*/) {
    emitEvent(QJsonObject{{u"type"_s, u"status"_s}, {u"state"_s, u"listening"_s}});
}

void EnergyRecognizer::audio(QByteArrayView pcm) {
    qsizetype i = 0;
    if (m_pendingByte >= 0 && !pcm.isEmpty()) {
        const auto high = quint16(quint8(pcm[0])) << 8;
        addSample(qint16(quint16(high | quint16(m_pendingByte))));
        m_pendingByte = -1;
        i = 1;
    }
    for (; i + 1 < pcm.size(); i += 2)
        addSample(qFromLittleEndian<qint16>(pcm.data() + i));
    if (i < pcm.size())
        m_pendingByte = quint8(pcm[i]);
}

void EnergyRecognizer::stop() {
    if (m_blockFill > 0)
        finishBlock();
    if (m_inSpeech)
        closeSegment();
    m_loudRunStart = -1;
    m_pendingByte = -1;
}

void EnergyRecognizer::addSample(qint16 sample) {
    m_blockSum += std::abs(int(sample));
    ++m_blockFill;
    if (m_blockFill == kBlockSamples)
        finishBlock();
}

void EnergyRecognizer::finishBlock() {
    const qint64 blockStart = m_samples;
    const qint64 blockEnd = m_samples + m_blockFill;
    const double level = double(m_blockSum) / (double(m_blockFill) * 32768.0);
    m_samples = blockEnd;
    m_blockSum = 0;
    m_blockFill = 0;
    const bool loud = level >= m_settings.threshold;

    if (!m_inSpeech) {
        if (!loud) {
            m_loudRunStart = -1;
            return;
        }
        if (m_loudRunStart < 0)
            m_loudRunStart = blockStart;
        if (blockEnd - m_loudRunStart < samplesFor(m_settings.minSpeechMs))
            return;
        m_inSpeech = true;
        m_segmentStart = m_loudRunStart;
        m_segmentEnd = blockEnd;
        m_quietRunStart = -1;
        m_lastPartialAt = -1;
    } else if (loud) {
        m_segmentEnd = blockEnd;
        m_quietRunStart = -1;
    } else {
        if (m_quietRunStart < 0)
            m_quietRunStart = blockStart;
        if (blockEnd - m_quietRunStart >= samplesFor(m_settings.hangoverMs))
            closeSegment();
        return;
    }

    // Partials only while it is loud: during a pause the length would not change.
    if (m_lastPartialAt < 0 ||
        blockEnd - m_lastPartialAt >= samplesFor(m_settings.partialIntervalMs)) {
        m_lastPartialAt = blockEnd;
        emitEvent(
            QJsonObject{{u"type"_s, u"partial"_s},
                        {u"text"_s, kPartialText.arg(secondsText(m_segmentEnd - m_segmentStart))}});
    }
}

void EnergyRecognizer::closeSegment() {
    const double offsetSeconds = double(m_segmentStart) / kSampleRate;
    m_inSpeech = false;
    m_loudRunStart = -1;
    m_quietRunStart = -1;
    emitEvent(QJsonObject{{u"type"_s, u"final"_s},
                          {u"text"_s, kFinalText.arg(secondsText(m_segmentEnd - m_segmentStart))},
                          {u"ts"_s, m_sessionStart.addingSeconds(offsetSeconds).toIso8601()}});
}

} // namespace vesnara::refbackend

#include "audio/PcmChunker.h"

#include "audio/PcmFrameFormat.h"

namespace vesnara {

namespace {

/// Moves every complete frame out of `pending`; one move of the remainder, not one per frame.
QList<QByteArray> takeFullChunks(QByteArray& pending) {
    QList<QByteArray> chunks;
    qsizetype offset = 0;
    while (pending.size() - offset >= PcmFrameFormat::targetChunkBytes) {
        chunks.append(pending.mid(offset, PcmFrameFormat::targetChunkBytes));
        offset += PcmFrameFormat::targetChunkBytes;
    }
    if (offset > 0)
        pending.remove(0, offset);
    return chunks;
}

} // namespace

QList<QByteArray> MicrophoneChunker::append(QByteArrayView pcm) {
    m_pending.append(pcm);
    return takeFullChunks(m_pending);
}

void MicrophoneChunker::clear() {
    m_pending.clear();
}

SystemAudioChunker::SystemAudioChunker(std::chrono::milliseconds maxLatency)
    : m_maxLatency(maxLatency) {}

QList<QByteArray> SystemAudioChunker::append(QByteArrayView pcm, Clock::time_point now) {
    m_pending.append(pcm);
    QList<QByteArray> chunks = takeFullChunks(m_pending);
    if (!chunks.isEmpty())
        m_lastEmitAt = now;
    if (m_pending.size() < PcmFrameFormat::minChunkBytes)
        return chunks;
    if (!m_lastEmitAt || now - *m_lastEmitAt >= m_maxLatency) {
        chunks.append(m_pending);
        m_pending.clear();
        m_lastEmitAt = now;
    }
    return chunks;
}

void SystemAudioChunker::reset() {
    m_pending.clear();
    m_lastEmitAt.reset();
}

} // namespace vesnara

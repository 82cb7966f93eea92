#include "backend/AudioSpool.h"

#include <utility>

namespace vesnara {

qint64 AudioSpool::capacityFor(std::chrono::milliseconds duration) {
    const qint64 bytes = duration.count() * bytesPerSecond / 1000;
    return bytes > 0 ? bytes - bytes % 2 : 0;
}

qint64 AudioSpool::push(QByteArray frame) {
    qint64 dropped = 0;
    if (frame.size() > m_capacity) {
        // Whole samples only: an odd cut would turn every later sample into noise.
        const qint64 keep = m_capacity - m_capacity % 2;
        dropped += frame.size() - keep;
        frame = frame.right(keep);
    }
    while (!m_frames.empty() && m_bytes + frame.size() > m_capacity) {
        dropped += m_frames.front().size();
        m_bytes -= m_frames.front().size();
        m_frames.pop_front();
    }
    if (!frame.isEmpty()) {
        m_bytes += frame.size();
        m_frames.push_back(std::move(frame));
    }
    m_dropped += dropped;
    return dropped;
}

QByteArray AudioSpool::pop() {
    if (m_frames.empty())
        return {};
    QByteArray frame = std::move(m_frames.front());
    m_frames.pop_front();
    m_bytes -= frame.size();
    return frame;
}

void AudioSpool::clear() {
    // Swap with an empty deque so the memory goes back at once, not at the next push.
    std::deque<QByteArray>().swap(m_frames);
    m_bytes = 0;
    m_dropped = 0;
}

qint64 AudioSpool::takeDroppedBytes() {
    return std::exchange(m_dropped, 0);
}

std::chrono::microseconds spoolReleaseOffset(qint64 bytesReleasedBefore,
                                             std::chrono::milliseconds perAudioSecond) {
    if (bytesReleasedBefore <= 0 || perAudioSecond.count() <= 0)
        return std::chrono::microseconds(0);
    // bytes / bytesPerSecond seconds of audio, each given perAudioSecond; in µs without overflow
    // for any spool that fits in memory.
    const qint64 micros =
        bytesReleasedBefore * perAudioSecond.count() * 1000 / AudioSpool::bytesPerSecond;
    return std::chrono::microseconds(micros);
}

qint64 spoolSecondsCeil(qint64 bytes) {
    if (bytes <= 0)
        return 0;
    return (bytes + AudioSpool::bytesPerSecond - 1) / AudioSpool::bytesPerSecond;
}

} // namespace vesnara

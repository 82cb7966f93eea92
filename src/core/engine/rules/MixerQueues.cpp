#include "engine/rules/MixerQueues.h"

#include "audio/PcmMixer.h"

#include <algorithm>

namespace vesnara {

namespace {

// A queue waits for its partner while it holds fewer chunks than this.
constexpr qsizetype kUnpairedChunksBeforeSendingAlone = 3;
constexpr qsizetype kBacklogLimit = 9;
constexpr qsizetype kBacklogKept = 3;

// Cuts `chunk` to `length` bytes and puts the rest back at the head of `queue`.
void returnTail(QByteArray& chunk, qsizetype length, QList<QByteArray>& queue) {
    if (chunk.size() > length) {
        queue.prepend(chunk.sliced(length));
        chunk.truncate(length);
    }
}

qsizetype trimQueue(QList<QByteArray>& queue, const QList<QByteArray>& other, qint64& dropCount) {
    if (other.isEmpty() || queue.size() < kBacklogLimit)
        return 0;
    const qsizetype dropped = queue.size() - kBacklogKept;
    queue.remove(0, dropped);
    dropCount += dropped;
    return dropped;
}

} // namespace

QList<QByteArray> drainMixedFrames(MixerQueues& queues, const MixSettings& settings) {
    QList<QByteArray> frames;
    QList<QByteArray>& mic = queues.pendingMicChunks;
    QList<QByteArray>& system = queues.pendingSystemChunks;
    for (;;) {
        if (mic.isEmpty()) {
            if (system.size() < kUnpairedChunksBeforeSendingAlone)
                return frames;
            frames.append(system.takeFirst());
            continue;
        }
        if (system.isEmpty()) {
            if (mic.size() < kUnpairedChunksBeforeSendingAlone)
                return frames;
            frames.append(mic.takeFirst());
            continue;
        }
        QByteArray micChunk = mic.takeFirst();
        QByteArray systemChunk = system.takeFirst();
        const qsizetype common = std::min(micChunk.size(), systemChunk.size());
        if (common < 2)
            continue;
        const qsizetype evenLength = common & ~qsizetype(1);
        returnTail(micChunk, evenLength, mic);
        returnTail(systemChunk, evenLength, system);
        frames.append(mixPCM16(micChunk, systemChunk, settings));
    }
}

MixedBacklogTrim trimMixedBacklogIfNeeded(MixerQueues& queues) {
    MixedBacklogTrim trim;
    trim.micDropped = trimQueue(queues.pendingMicChunks, queues.pendingSystemChunks,
                                queues.mixedLagDropMicChunks);
    trim.micRemaining = queues.pendingMicChunks.size();
    trim.systemDropped = trimQueue(queues.pendingSystemChunks, queues.pendingMicChunks,
                                   queues.mixedLagDropSystemChunks);
    trim.systemRemaining = queues.pendingSystemChunks.size();
    return trim;
}

} // namespace vesnara

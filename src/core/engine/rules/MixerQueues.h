#pragma once

#include "model/MixPreset.h"

#include <QByteArray>
#include <QList>

namespace vesnara {

/// The chunks of a mixed recording that wait for a partner from the other source, oldest
/// first, and the counts of chunks dropped because a queue fell too far behind.
struct MixerQueues {
    QList<QByteArray> pendingMicChunks;
    QList<QByteArray> pendingSystemChunks;
    qint64 mixedLagDropMicChunks = 0;
    qint64 mixedLagDropSystemChunks = 0;
};

/// Takes from the queues every frame that can go out now, in the order they are to be sent.
///
/// The heads of both queues are paired and mixed over their common even length; the longer
/// chunk's tail goes back to the head of its queue, so no audio of it is lost. A pair with less
/// than 2 bytes in common is dropped. While the other queue is empty, a queue holds up to two
/// chunks for a partner; from the third on its oldest chunk goes out alone, unmixed, so a
/// source that went silent or died never stops the stream.
QList<QByteArray> drainMixedFrames(MixerQueues& queues, const MixSettings& settings);

/// What a backlog trim removed, and what it left, per queue.
struct MixedBacklogTrim {
    qsizetype micDropped = 0;
    qsizetype micRemaining = 0;
    qsizetype systemDropped = 0;
    qsizetype systemRemaining = 0;

    friend bool operator==(const MixedBacklogTrim&, const MixedBacklogTrim&) = default;
};

/// The safety net for a main thread that fell behind: a queue of 9 or more chunks while the
/// other is not empty keeps only its newest 3, first the microphone's, then the system's. The
/// drop counts of `queues` grow by what was removed.
MixedBacklogTrim trimMixedBacklogIfNeeded(MixerQueues& queues);

} // namespace vesnara

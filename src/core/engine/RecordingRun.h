#pragma once

#include "engine/transcript/TranscriptLines.h"
#include "model/Timestamp.h"
#include "model/TranscriptPin.h"
#include "model/TranscriptSegment.h"

#include <QList>
#include <QString>
#include <QUuid>

#include <optional>

namespace vesnara {

/// One recording from its start to its saved session. Steps that outlive the moment they were
/// started (the stop's flush and final fetch, a remote stop's fetch, stream events) carry their
/// run, so they can tell whether it is still the one on screen.
struct RecordingRun {
    /// A run's own copy of its transcript, taken when a newer run takes over the screen while it
    /// is still finishing: its late lines go here and it saves from here.
    struct DetachedTranscript {
        TranscriptLines lines;
        QList<TranscriptPin> pins;
    };

    QUuid id = QUuid::createUuid();
    /// Empty until the server has created the session.
    QString sessionId;
    Timestamp startedAt = Timestamp::now();
    std::optional<DetachedTranscript> detached;

    bool isDetached() const { return detached.has_value(); }
};

} // namespace vesnara

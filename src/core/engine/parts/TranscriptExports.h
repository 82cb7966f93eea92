#pragma once

#include "engine/parts/PartContext.h"

#include <QCoroTask>
#include <QPointer>
#include <QString>

namespace vesnara {

class SessionTranscript;

/// The transcript part's ways out: a file through a save panel, the automatic file after a
/// stop, and the clipboard. The text is always made from the transcript at the command, before
/// any panel opens; a failed write leaves the transcript and any earlier file as they were.
class TranscriptExports {
public:
    TranscriptExports(SessionTranscript& transcript, const PartContext& context);

    /// Formats by the chosen format, asks where to save (proposing `<session>.<ext>`) and
    /// writes. Only with lines or pins and while no recording runs.
    void saveTranscript();
    /// When enabled and there is something to write: `<session>-<stamp>.<ext>` in Downloads,
    /// replacing a file of that name.
    void autoExportAfterStopIfEnabled();
    /// The plain lines, without pins; nothing happens for an empty transcript.
    void copyTranscriptToClipboard();
    void copySessionIdToClipboard();

private:
    QCoro::Task<> saveThroughPanel(QPointer<SessionTranscript> owner, QString proposedName,
                                   QString filter, QString text);
    bool isRecording() const;

    SessionTranscript& m_transcript;
    const PartContext& m_context;
};

} // namespace vesnara

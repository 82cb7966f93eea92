#pragma once

// A clip of recorded speech played into the rig's virtual microphone while the view model
// records it against a reference backend, and what the saved session holds afterwards. Shared by
// the accuracy test and its benchmark.

#include "AudioRig.h"
#include "engine/TranscriptionViewModel.h"
#include "engine/parts/SessionTranscript.h"
#include "storage/SessionHistoryStore.h"
#include "support/SpeechClips.h"

#include <QStringList>
#include <QTest>

namespace vesnara::rig {

struct ClipRecording {
    /// Empty when the recording went through; otherwise which step failed.
    QString failure;
    /// The saved session's lines, joined with spaces.
    QString heard;
    int partials = 0;
    /// A partial of the running hypothesis showed before the first final line.
    bool partialBeforeFinal = false;
};

/// Records `clip` with `vm`, whose saved sessions go to `historyDirectory`, from the start of the
/// recording to its saved session. Waits at most `waitMs` for each step.
inline ClipRecording recordClip(TranscriptionViewModel& vm, const QString& historyDirectory,
                                const test::SpeechClip& clip, int waitMs) {
    ClipRecording result;
    SessionTranscript& transcript = *vm.transcript();
    const QMetaObject::Connection watch =
        QObject::connect(&transcript, &SessionTranscript::interimTextChanged, [&] {
            if (transcript.interimText().isEmpty())
                return;
            ++result.partials;
            if (transcript.segments().isEmpty())
                result.partialBeforeFinal = true;
        });
    const auto fail = [&](const QString& step) {
        QObject::disconnect(watch);
        result.failure = step;
        return result;
    };

    vm.startRecording();
    if (!QTest::qWaitFor([&vm] { return vm.isRecording(); }, waitMs))
        return fail(u"the recording did not start"_s);
    const QString id = vm.sessionId();
    {
        Player player(clip.wavPath, u"mic_feed"_s);
        if (!player.started())
            return fail(u"paplay did not start"_s);
        if (!QTest::qWaitFor([&player] { return player.hasFinished(); }, waitMs))
            return fail(u"the clip did not finish playing"_s);
    }
    // The decoder ends the utterance in the silence after the clip.
    if (!QTest::qWaitFor(
            [&] { return !transcript.segments().isEmpty() && transcript.interimText().isEmpty(); },
            waitMs))
        return fail(u"no final line after the clip; last partial: "_s + transcript.interimText());
    vm.stopRecording();
    if (!QTest::qWaitFor([&vm] { return vm.runState() == RecordingRunState::idle; }, waitMs))
        return fail(u"the recording did not stop"_s);
    QObject::disconnect(watch);

    std::optional<SavedSession> saved;
    if (!QTest::qWaitFor(
            [&] { return (saved = SessionHistoryStore(historyDirectory).load(id)).has_value(); },
            waitMs))
        return fail(u"no saved session "_s + id);
    QStringList lines;
    for (const TranscriptSegment& segment : saved->segments)
        lines.append(segment.text);
    result.heard = lines.join(u' ');
    return result;
}

} // namespace vesnara::rig

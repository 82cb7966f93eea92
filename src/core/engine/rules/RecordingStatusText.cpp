#include "engine/rules/RecordingStatusText.h"

#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

QString listeningTo(const QString& sourceName) {
    return sourceName.isEmpty() ? UiText::statusListening : UiText::statusListeningTo(sourceName);
}

constexpr double kSpeechLevelThreshold = 0.005;
constexpr qint64 kFramesPerStatusRefresh = 25;

} // namespace

QString listeningStatusText(AudioInputMode mode, bool isPaused, const ListeningSourceNames& names) {
    if (isPaused)
        return UiText::statusPaused;
    switch (mode) {
    case AudioInputMode::microphone:
        return listeningTo(names.activeInputDeviceName);
    case AudioInputMode::systemAudio:
        return listeningTo(names.systemSourceName);
    case AudioInputMode::microphoneAndSystem: {
        const QString system = names.systemSourceName.isEmpty()
                                   ? UiText::systemAudioSourceFallbackName
                                   : names.systemSourceName;
        return UiText::statusListeningTo(names.selectedInputDeviceName + u" + "_s + system);
    }
    }
    Q_UNREACHABLE();
    return UiText::statusListening;
}

std::optional<QString> statusTextAfterPartial(const QString& partialText, bool isRecording,
                                              bool isPaused) {
    if (!isRecording || isPaused)
        return std::nullopt;
    return partialText.isEmpty() ? UiText::statusWaiting : UiText::statusListening;
}

StreamStatusOutcome streamStatusOutcome(const QString& state, StreamReportContext context) {
    using Action = StreamStatusOutcome::Action;
    const auto show = [](const QString& text) {
        return StreamStatusOutcome{Action::showText, text};
    };

    if (state == u"listening"_s || state == u"stream-rolled-over"_s ||
        state == u"stream-restarting"_s)
        return context.isPaused ? show(UiText::statusPaused)
                                : StreamStatusOutcome{Action::showListeningStatus, {}};
    if (state == u"waiting-for-audio"_s)
        return show(context.isPaused ? UiText::statusPaused : UiText::statusWaitingForAudio);
    if (state == u"reconnecting"_s)
        return show(context.isPaused ? UiText::statusPausedConnectionLost
                                     : UiText::statusReconnecting);
    if (state == u"retrying-safe-model"_s)
        return show(UiText::statusRetryingSafeModel);
    if (state == u"stopped"_s)
        return context.isRecordingUnderWay ? StreamStatusOutcome{Action::endRecording, {}}
                                           : show(UiText::statusStopped);
    return show(state);
}

bool streamErrorEndsRecording(const QString& message) {
    static const QString endingPhrases[] = {u"ws-yhteys katkesi"_s, u"äänen lähetys"_s,
                                            u"äänen kaappaus"_s};
    for (const QString& phrase : endingPhrases) {
        if (message.contains(phrase, Qt::CaseInsensitive))
            return true;
    }
    return false;
}

std::optional<QString> statusTextAfterOutgoingFrame(qint64 audioFramesSent, double level,
                                                    bool isRecording, bool isPaused,
                                                    bool hasSegments) {
    if (!isRecording || isPaused || hasSegments || audioFramesSent % kFramesPerStatusRefresh != 0)
        return std::nullopt;
    return level < kSpeechLevelThreshold ? UiText::statusWaitingForSpeech : UiText::statusListening;
}

} // namespace vesnara

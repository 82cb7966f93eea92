#include "audio/MicrophonePermissionSnapshot.h"

#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

QString boolText(bool value) {
    return value ? u"true"_s : u"false"_s;
}

QString identifierOrDash(const QString& identifier) {
    return identifier.isEmpty() ? u"-"_s : identifier;
}

bool isRecordPermissionDeniedOrUnknown(const QString& audio) {
    return audio == u"denied"_s || audio == u"unknown"_s;
}

QString stateText(const MicrophonePermissionState& state) {
    return u"avAudio="_s + recordPermissionLabel(state.recordPermissionText) + u" avCapture="_s +
           label(state.captureAuthorization);
}

} // namespace

QString label(CaptureAuthorization authorization) {
    switch (authorization) {
    case CaptureAuthorization::notDetermined:
        return u"notDetermined"_s;
    case CaptureAuthorization::restricted:
        return u"restricted"_s;
    case CaptureAuthorization::denied:
        return u"denied"_s;
    case CaptureAuthorization::authorized:
        return u"authorized"_s;
    case CaptureAuthorization::unknown:
        break;
    }
    return u"unknown"_s;
}

QString recordPermissionLabel(const QString& text) {
    const auto holdsAny = [&text](std::initializer_list<QStringView> needles) {
        for (const auto needle : needles)
            if (text.contains(needle))
                return true;
        return false;
    };
    if (holdsAny({u"1735552628", u"grnt", u"grant"}))
        return u"granted"_s;
    if (holdsAny({u"1684369017", u"deny", u"denied"}))
        return u"denied"_s;
    if (holdsAny({u"1970168948", u"undt", u"undetermined"}))
        return u"undetermined"_s;
    return u"unknown"_s;
}

bool isMicrophonePermissionGranted(const MicrophonePermissionState& state) {
    return recordPermissionLabel(state.recordPermissionText) == u"granted"_s ||
           state.captureAuthorization == CaptureAuthorization::authorized;
}

bool isCorePermissionEffectivelyDenied(const MicrophonePermissionState& state) {
    return isRecordPermissionDeniedOrUnknown(recordPermissionLabel(state.recordPermissionText)) &&
           (state.captureAuthorization == CaptureAuthorization::restricted ||
            state.captureAuthorization == CaptureAuthorization::denied);
}

MicrophonePermissionSnapshot
MicrophonePermissionSnapshot::from(const MicrophonePermissionState& state) {
    const QString audio = recordPermissionLabel(state.recordPermissionText);
    const auto capture = state.captureAuthorization;
    const bool granted = isMicrophonePermissionGranted(state);
    const bool denied = isCorePermissionEffectivelyDenied(state);
    const bool restricted = capture == CaptureAuthorization::restricted;

    MicrophonePermissionSnapshot s;
    s.detailText = u"AVAudio="_s + audio + u", AVCapture="_s + label(capture) + u", bundle="_s +
                   identifierOrDash(state.bundleIdentifier) + u", usageDesc="_s +
                   (state.hasUsageDescription ? u"ok"_s : u"missing"_s);

    const auto row = [&s](const QString& summary, bool isGranted, bool canRequest,
                          bool openSettings) {
        s.summaryText = summary;
        s.isGranted = isGranted;
        s.canRequestPrompt = canRequest;
        s.shouldOpenSystemSettings = openSettings;
        return s;
    };
    if (!state.hasUsageDescription)
        return row(UiText::microphonePermissionSummaryMissingUsage, granted, false,
                   !granted && (denied || restricted));
    if (granted)
        return row(UiText::microphonePermissionSummaryGranted, true, false, false);
    if (denied && restricted)
        return row(UiText::microphonePermissionSummaryRestricted, false, false, true);
    if (denied)
        return row(UiText::microphonePermissionSummaryDenied, false, false, true);
    if (restricted)
        return row(UiText::microphonePermissionSummaryRestricted, false, true, true);
    if (audio == u"denied"_s && capture == CaptureAuthorization::notDetermined)
        return row(UiText::microphonePermissionSummaryContradictory, false, true, false);
    if (capture == CaptureAuthorization::notDetermined || audio == u"undetermined"_s)
        return row(UiText::microphonePermissionSummaryNotYetGranted, false, true, false);
    return row(UiText::microphonePermissionSummaryUnclear, false, true, false);
}

QCoro::Task<bool> requestMicrophonePermission(std::shared_ptr<PermissionProbe> probe) {
    auto state = probe->microphoneState();
    AppLog::write(u"microphone permission "_s + stateText(state) + u" bundleId="_s +
                  identifierOrDash(state.bundleIdentifier) + u" hasUsageDesc="_s +
                  boolText(state.hasUsageDescription));
    if (isMicrophonePermissionGranted(state))
        co_return true;
    if (isCorePermissionEffectivelyDenied(state))
        co_return false;
    if (!state.hasUsageDescription) {
        // A prompt without the usage description would end the process.
        AppLog::write(
            u"microphone permission prompt skipped: NSMicrophoneUsageDescription missing"_s);
        co_return false;
    }

    const bool requested = co_await probe->requestRecordPermission();
    AppLog::write(u"microphone permission AVAudioApplication.requestRecordPermission granted="_s +
                  boolText(requested));
    state = probe->microphoneState();
    AppLog::write(u"microphone permission post-request "_s + stateText(state));
    if (isMicrophonePermissionGranted(state))
        co_return true;

    if (state.captureAuthorization == CaptureAuthorization::notDetermined) {
        const bool fallback = co_await probe->requestCaptureAccess();
        state = probe->microphoneState();
        AppLog::write(u"microphone permission post-fallback "_s + stateText(state));
        if (isMicrophonePermissionGranted(state) || fallback)
            co_return true;
    }
    if (!isCorePermissionEffectivelyDenied(state)) {
        AppLog::write(
            u"microphone permission inconclusive after request; proceeding to capture probe"_s);
        co_return true;
    }
    co_return requested;
}

QString microphonePermissionRequestStatusText(bool requestResult,
                                              const MicrophonePermissionSnapshot& snapshot) {
    if (requestResult || snapshot.isGranted)
        return UiText::microphonePermissionInUse;
    if (snapshot.shouldOpenSystemSettings)
        return UiText::microphonePermissionBlocked;
    return UiText::microphonePermissionNotObtained;
}

} // namespace vesnara

#include "audio/SystemAudioCaptureError.h"

#include "text/UiText.h"

namespace vesnara {

namespace {

const QString& descriptionOf(SystemAudioCaptureError::Kind kind) {
    switch (kind) {
    case SystemAudioCaptureError::Kind::permissionDenied:
        return UiText::systemAudioPermissionDenied;
    case SystemAudioCaptureError::Kind::restartRequiredAfterPermissionGrant:
        return UiText::systemAudioRestartRequiredAfterPermissionGrant;
    case SystemAudioCaptureError::Kind::noDisplay:
        return UiText::systemAudioNoDisplay;
    case SystemAudioCaptureError::Kind::streamSetupFailed:
        break;
    }
    return UiText::systemAudioStreamSetupFailed;
}

} // namespace

SystemAudioCaptureError::SystemAudioCaptureError(Kind kind)
    : UserFacingError(descriptionOf(kind).toStdString())
    , m_kind(kind) {}

QString SystemAudioCaptureError::description() const {
    return descriptionOf(m_kind);
}

} // namespace vesnara

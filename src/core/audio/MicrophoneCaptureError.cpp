#include "audio/MicrophoneCaptureError.h"

#include "text/UiText.h"

namespace vesnara {

namespace {

const QString& descriptionOf(MicrophoneCaptureError::Kind kind) {
    switch (kind) {
    case MicrophoneCaptureError::Kind::permissionDenied:
        return UiText::microphonePermissionDenied;
    case MicrophoneCaptureError::Kind::engineNotReady:
        break;
    }
    return UiText::microphoneEngineNotReady;
}

} // namespace

MicrophoneCaptureError::MicrophoneCaptureError(Kind kind)
    : UserFacingError(descriptionOf(kind).toStdString())
    , m_kind(kind) {}

QString MicrophoneCaptureError::description() const {
    return descriptionOf(m_kind);
}

} // namespace vesnara

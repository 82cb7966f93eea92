#pragma once

#include "model/UserFacingError.h"

#include <QString>

namespace vesnara {

/// Why the microphone could not be started, with the Finnish text the user sees.
class MicrophoneCaptureError : public UserFacingError {
public:
    enum class Kind {
        /// The user has not allowed the microphone (raised by the permission flows, not by
        /// `MicrophoneCapture::startAsync`).
        permissionDenied,
        /// The input has no channels, or its stream could not be started.
        engineNotReady,
    };

    explicit MicrophoneCaptureError(Kind kind);

    Kind kind() const { return m_kind; }
    /// The Finnish text for the user; `what()` holds the same text in UTF-8.
    QString description() const override;

private:
    Kind m_kind;
};

} // namespace vesnara

#pragma once

#include "model/UserFacingError.h"

#include <QString>

namespace vesnara {

/// Why system audio could not be captured or listed, with the Finnish text the user sees.
class SystemAudioCaptureError : public UserFacingError {
public:
    enum class Kind {
        /// The sound server could not be asked what there is to capture.
        permissionDenied,
        /// Kept with its text for the permission flows; nothing raises it.
        restartRequiredAfterPermissionGrant,
        /// There is no output to capture.
        noDisplay,
        /// The capture stream could not be started.
        streamSetupFailed,
    };

    explicit SystemAudioCaptureError(Kind kind);

    Kind kind() const { return m_kind; }
    /// The Finnish text for the user (the Linux wording); `what()` holds the same in UTF-8.
    QString description() const override;

private:
    Kind m_kind;
};

} // namespace vesnara

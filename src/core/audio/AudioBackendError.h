#pragma once

#include <QString>

namespace vesnara {

/// Why a sound server operation failed, as the backend knows it: for logs, never for the user.
struct AudioBackendError {
    /// Who reported it ("pulseaudio", "vesnara.audio", …).
    QString domain;
    int code = 0;
    QString description;

    /// "domain=<domain> code=<code> desc=<description>", the form of every audio error log line.
    QString details() const {
        using namespace Qt::StringLiterals;
        return u"domain="_s + domain + u" code="_s + QString::number(code) + u" desc="_s +
               description;
    }
};

} // namespace vesnara

#include "engine/StatusLine.h"

namespace vesnara {

void StatusLine::setStatusText(const QString& text) {
    if (m_statusText == text)
        return;
    m_statusText = text;
    Q_EMIT statusTextChanged();
}

void StatusLine::setDiagnosticHint(const QString& hint) {
    if (m_diagnosticHint == hint)
        return;
    m_diagnosticHint = hint;
    Q_EMIT diagnosticHintChanged();
}

} // namespace vesnara

#pragma once

#include <QObject>
#include <QString>

namespace vesnara {

/// The one status line and diagnostic hint under the controls. Every part of the engine writes
/// here instead of keeping its own copy, so the screen shows whichever spoke last.
class StatusLine : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString statusText READ statusText NOTIFY statusTextChanged)
    Q_PROPERTY(QString diagnosticHint READ diagnosticHint NOTIFY diagnosticHintChanged)

public:
    explicit StatusLine(QObject* parent = nullptr)
        : QObject(parent) {}

    const QString& statusText() const { return m_statusText; }
    const QString& diagnosticHint() const { return m_diagnosticHint; }
    /// Each signals only a real change.
    void setStatusText(const QString& text);
    void setDiagnosticHint(const QString& hint);

Q_SIGNALS:
    void statusTextChanged();
    void diagnosticHintChanged();

private:
    QString m_statusText;
    QString m_diagnosticHint;
};

} // namespace vesnara

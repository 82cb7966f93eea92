#pragma once

#include <QCoroTask>
#include <QString>

#include <optional>

namespace vesnara {

/// The desktop's modal questions as the core needs them: one text value, or a yes/no. A dialog
/// never blocks the event loop: the command awaits the answer and, since anything may have
/// happened meanwhile, looks up again what it touches afterwards. Implemented in QML by the
/// application; tests script their own. Used on the main thread only.
class Dialogs {
public:
    virtual ~Dialogs() = default;
    /// Asks for one text, showing `initial` in the field and `placeholder` when it is empty;
    /// `masked` hides the characters. The buttons are "Tallenna" and "Peruuta"; nothing means
    /// cancelled. The text comes back as typed, untrimmed.
    virtual QCoro::Task<std::optional<QString>> promptText(QString title, QString message,
                                                           QString initial, QString placeholder,
                                                           bool masked) = 0;
    /// Asks to confirm an action; true only for the confirming button.
    virtual QCoro::Task<bool> confirm(QString title, QString message) = 0;
};

} // namespace vesnara

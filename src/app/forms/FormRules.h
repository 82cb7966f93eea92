#pragma once

#include <QObject>
#include <QString>

#include <exception>

namespace vesnara::forms {

/// How many characters the user typed, counted as they see them: a letter with a combining
/// mark or an emoji is one character, however many UTF-16 units it takes.
qsizetype visibleCharacterCount(const QString& text);

/// The red line of a form for a failed request: the error's own Finnish words when it carries
/// them (every auth service error does), else `fallback`. Anything else goes to the log in
/// English.
QString failureText(const std::exception_ptr& error, const QString& fallback);

/// Sets one observable field of `form` and emits `changed`, only on a real change.
template <typename Form, typename Value>
void assignAndNotify(Form* form, Value& field, const Value& value, void (Form::*changed)()) {
    if (field == value)
        return;
    field = value;
    Q_EMIT(form->*changed)();
}

} // namespace vesnara::forms

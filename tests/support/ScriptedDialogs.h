#pragma once

#include "async/CancellationToken.h"
#include "platform/Dialogs.h"

#include <QList>

#include <deque>

namespace vesnara::test {

/// Dialogs whose answers the test scripts. Each answer comes on a later turn of the event loop,
/// as a real dialog's would, so a command must not assume that nothing changed meanwhile.
class ScriptedDialogs final : public Dialogs {
public:
    struct Prompt {
        QString title;
        QString message;
        QString initial;
        QString placeholder;
        bool masked = false;
    };

    /// The next answers to prompts; nothing is a cancel. Empty: every prompt is cancelled.
    std::deque<std::optional<QString>> promptAnswers;
    /// The next answers to confirmations. Empty: every confirmation is declined.
    std::deque<bool> confirmAnswers;
    QList<Prompt> prompts;
    QList<QString> confirmations;
    /// Prompts and confirmations answered so far; the asking command has resumed by then.
    int answered = 0;

    QCoro::Task<std::optional<QString>> promptText(QString title, QString message, QString initial,
                                                   QString placeholder, bool masked) override {
        prompts.append({title, message, initial, placeholder, masked});
        std::optional<QString> answer;
        if (!promptAnswers.empty()) {
            answer = promptAnswers.front();
            promptAnswers.pop_front();
        }
        co_await sleepFor(std::chrono::milliseconds(0));
        ++answered;
        co_return answer;
    }

    QCoro::Task<bool> confirm(QString title, QString message) override {
        confirmations.append(title + u'\n' + message);
        bool answer = false;
        if (!confirmAnswers.empty()) {
            answer = confirmAnswers.front();
            confirmAnswers.pop_front();
        }
        co_await sleepFor(std::chrono::milliseconds(0));
        ++answered;
        co_return answer;
    }
};

} // namespace vesnara::test

#include "QmlDialogs.h"

#include "VesnaraApplication.h"

namespace vesnara {

QmlDialogs::QmlDialogs(QObject* parent)
    : QObject(parent) {}

QmlDialogs::~QmlDialogs() = default;

QmlDialogs* QmlDialogs::create(QQmlEngine*, QJSEngine*) {
    QmlDialogs* dialogs = &VesnaraApplication::instance()->windowDialogs();
    QJSEngine::setObjectOwnership(dialogs, QJSEngine::CppOwnership);
    return dialogs;
}

std::shared_ptr<PendingAnswer> QmlDialogs::ask(Kind kind, QString title, QString message,
                                               QString text, QString placeholder, bool masked) {
    std::shared_ptr<PendingAnswer> pending = m_question.ask();
    m_kind = kind;
    m_title = std::move(title);
    m_message = std::move(message);
    m_text = std::move(text);
    m_placeholder = std::move(placeholder);
    m_masked = masked;
    Q_EMIT requestChanged();
    return pending;
}

// Only the shared answer is touched after the wait: the host may be gone by then. The awaiter
// and the answer are named locals: GCC 12 loses the answer read from a temporary awaiter's
// coroutine in one expression.
QCoro::Task<std::optional<QString>> QmlDialogs::promptText(QString title, QString message,
                                                           QString initial, QString placeholder,
                                                           bool masked) {
    const std::shared_ptr<PendingAnswer> pending =
        ask(Kind::prompt, std::move(title), std::move(message), std::move(initial),
            std::move(placeholder), masked);
    PendingAnswer::Awaiter answered{pending};
    co_await answered;
    std::optional<QString> answer = pending->answer();
    co_return answer;
}

QCoro::Task<bool> QmlDialogs::confirm(QString title, QString message) {
    const std::shared_ptr<PendingAnswer> pending =
        ask(Kind::confirm, std::move(title), std::move(message));
    PendingAnswer::Awaiter answered{pending};
    co_await answered;
    const bool confirmed = pending->answer().has_value();
    co_return confirmed;
}

void QmlDialogs::accept(const QString& text) {
    if (m_question.answer(text))
        Q_EMIT requestChanged();
}

void QmlDialogs::cancel() {
    if (m_question.answer(std::nullopt))
        Q_EMIT requestChanged();
}

} // namespace vesnara

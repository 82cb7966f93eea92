#pragma once

#include "WindowQuestion.h"
#include "platform/Dialogs.h"

#include <QObject>
#include <QQmlEngine>

namespace vesnara {

/// The core's modal questions shown by the window's own QML: the prompt and the confirm
/// dialog of Main.qml bind to the one open request and answer it through `accept` or `cancel`.
/// Nothing blocks: the asking command awaits the answer. A newer request cancels the open one;
/// the application cancels it too when the window closes or the login state changes.
class QmlDialogs final : public QObject, public Dialogs {
    Q_OBJECT
    QML_NAMED_ELEMENT(WindowDialogs)
    QML_SINGLETON
    Q_PROPERTY(bool promptOpen READ promptOpen NOTIFY requestChanged)
    Q_PROPERTY(bool confirmOpen READ confirmOpen NOTIFY requestChanged)
    Q_PROPERTY(QString title READ title NOTIFY requestChanged)
    Q_PROPERTY(QString message READ message NOTIFY requestChanged)
    /// The prompt field's text when it opens.
    Q_PROPERTY(QString text READ text NOTIFY requestChanged)
    Q_PROPERTY(QString placeholder READ placeholder NOTIFY requestChanged)
    Q_PROPERTY(bool masked READ masked NOTIFY requestChanged)

public:
    /// No default constructor: QML would make its own instance with it rather than call
    /// `create`.
    explicit QmlDialogs(QObject* parent);
    ~QmlDialogs() override;

    /// The application's instance.
    static QmlDialogs* create(QQmlEngine* engine, QJSEngine* scriptEngine);

    QCoro::Task<std::optional<QString>> promptText(QString title, QString message, QString initial,
                                                   QString placeholder, bool masked) override;
    QCoro::Task<bool> confirm(QString title, QString message) override;

    bool promptOpen() const { return m_question.isOpen() && m_kind == Kind::prompt; }
    bool confirmOpen() const { return m_question.isOpen() && m_kind == Kind::confirm; }
    const QString& title() const { return m_title; }
    const QString& message() const { return m_message; }
    const QString& text() const { return m_text; }
    const QString& placeholder() const { return m_placeholder; }
    bool masked() const { return m_masked; }

    /// The prompt's "Tallenna" with the field's text as typed, or the confirming button.
    Q_INVOKABLE void accept(const QString& text = QString());
    /// "Peruuta", Escape, or the window going away; nothing happens when no question is open.
    Q_INVOKABLE void cancel();

Q_SIGNALS:
    /// A question opened or was answered; the hosts read everything anew.
    void requestChanged();

private:
    enum class Kind { prompt, confirm };
    std::shared_ptr<PendingAnswer> ask(Kind kind, QString title, QString message, QString text = {},
                                       QString placeholder = {}, bool masked = false);

    WindowQuestion m_question;
    Kind m_kind = Kind::prompt;
    QString m_title;
    QString m_message;
    QString m_text;
    QString m_placeholder;
    bool m_masked = false;
};

} // namespace vesnara

#pragma once

#include "WindowQuestion.h"
#include "platform/FilePanels.h"

#include <QObject>
#include <QQmlEngine>
#include <QUrl>

namespace vesnara {

/// The core's save panel shown by the window's QML `FileDialog`: the panel binds to the one open
/// request and answers it through `accept` or `cancel`. Nothing blocks: the saving command
/// awaits the path. A newer request cancels the open one; the application cancels it too when
/// the window closes or the login state changes.
class QmlFilePanels final : public QObject, public FilePanels {
    Q_OBJECT
    QML_NAMED_ELEMENT(WindowFilePanels)
    QML_SINGLETON
    Q_PROPERTY(bool open READ isOpen NOTIFY requestChanged)
    /// Where the panel starts.
    Q_PROPERTY(QUrl folder READ folder NOTIFY requestChanged)
    /// The proposed name in that folder.
    Q_PROPERTY(QUrl proposedFile READ proposedFile NOTIFY requestChanged)
    Q_PROPERTY(QStringList nameFilters READ nameFilters NOTIFY requestChanged)

public:
    /// The panel starts in `folder` each time.
    explicit QmlFilePanels(QString folder, QObject* parent = nullptr);
    ~QmlFilePanels() override;

    /// The application's instance.
    static QmlFilePanels* create(QQmlEngine* engine, QJSEngine* scriptEngine);

    QCoro::Task<std::optional<QString>> chooseSaveFile(QString proposedName,
                                                       QString filter) override;

    bool isOpen() const { return m_question.isOpen(); }
    QUrl folder() const;
    QUrl proposedFile() const;
    const QStringList& nameFilters() const { return m_nameFilters; }

    /// The panel's chosen file; one that is not on the local file system counts as cancelled,
    /// since the core writes with local file operations.
    Q_INVOKABLE void accept(const QUrl& file);
    Q_INVOKABLE void cancel();

Q_SIGNALS:
    void requestChanged();

private:
    void answer(std::optional<QString> path);

    QString m_folder;
    WindowQuestion m_question;
    QString m_proposedName;
    QStringList m_nameFilters;
};

} // namespace vesnara

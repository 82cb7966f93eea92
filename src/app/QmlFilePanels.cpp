#include "QmlFilePanels.h"

#include "VesnaraApplication.h"
#include "storage/AppLog.h"

#include <QDir>

using namespace Qt::StringLiterals;

namespace vesnara {

QmlFilePanels::QmlFilePanels(QString folder, QObject* parent)
    : QObject(parent)
    , m_folder(std::move(folder)) {}

QmlFilePanels::~QmlFilePanels() = default;

QmlFilePanels* QmlFilePanels::create(QQmlEngine*, QJSEngine*) {
    QmlFilePanels* panels = &VesnaraApplication::instance()->windowFilePanels();
    QJSEngine::setObjectOwnership(panels, QJSEngine::CppOwnership);
    return panels;
}

QUrl QmlFilePanels::folder() const {
    return QUrl::fromLocalFile(m_folder);
}

QUrl QmlFilePanels::proposedFile() const {
    return QUrl::fromLocalFile(QDir(m_folder).filePath(m_proposedName));
}

// Only the shared answer is touched after the wait: the host may be gone by then. Named locals
// for the awaiter and the answer, as GCC 12 needs (see QmlDialogs).
QCoro::Task<std::optional<QString>> QmlFilePanels::chooseSaveFile(QString proposedName,
                                                                  QString filter) {
    const std::shared_ptr<PendingAnswer> pending = m_question.ask();
    m_proposedName = std::move(proposedName);
    m_nameFilters = QStringList{std::move(filter)};
    Q_EMIT requestChanged();
    PendingAnswer::Awaiter answered{pending};
    co_await answered;
    std::optional<QString> path = pending->answer();
    co_return path;
}

void QmlFilePanels::accept(const QUrl& file) {
    if (!file.isLocalFile() || file.toLocalFile().isEmpty()) {
        AppLog::write(u"save panel answer ignored reason=notLocal scheme=%1"_s.arg(file.scheme()));
        answer(std::nullopt);
        return;
    }
    answer(file.toLocalFile());
}

void QmlFilePanels::cancel() {
    answer(std::nullopt);
}

void QmlFilePanels::answer(std::optional<QString> path) {
    if (m_question.answer(std::move(path)))
        Q_EMIT requestChanged();
}

} // namespace vesnara

#include "engine/diagnostics/DiagnosticFiles.h"

#include "text/UiText.h"

#include <QDir>
#include <QFileInfo>
#include <QLocale>
#include <QRegularExpression>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

QByteArray diagnosticsReadmeBytes() {
    return UiText::diagnosticsReadme.toUtf8();
}

QString cleanDiagnosticReason(const QString& reason) {
    static const QRegularExpression outside(u"[^a-z0-9-]+"_s);
    QString cleaned = reason.toLower();
    cleaned.replace(outside, u"-"_s);
    qsizetype start = 0;
    qsizetype end = cleaned.size();
    while (start < end && cleaned.at(start) == u'-')
        ++start;
    while (end > start && cleaned.at(end - 1) == u'-')
        --end;
    cleaned = cleaned.mid(start, end - start);
    return cleaned.isEmpty() ? u"fallback"_s : cleaned;
}

QString diagnosticsArchiveName(const QString& prefix, const QString& fileStamp) {
    return prefix + u'-' + fileStamp + u".zip"_s;
}

QString automaticDiagnosticsFileName(const QString& reason, const QString& fileStamp) {
    return QString::fromUtf16(kDiagnosticsFilePrefix) + u"-auto-"_s +
           cleanDiagnosticReason(reason) + u'-' + fileStamp + u".json"_s;
}

std::optional<QString> latestDiagnosticsFile(const QString& directory) {
    if (directory.isEmpty())
        return std::nullopt;
    // QDir leaves out hidden entries unless asked; a directory it cannot read lists nothing.
    const QFileInfoList entries = QDir(directory).entryInfoList(QDir::Files | QDir::NoDotAndDotDot);
    const QString prefix = QString::fromUtf16(kDiagnosticsFilePrefix);
    const QFileInfo* newest = nullptr;
    QDateTime newestTime;
    for (const QFileInfo& entry : entries) {
        const QString name = entry.fileName().toLower();
        if (!name.startsWith(prefix) || !(name.endsWith(u".zip") || name.endsWith(u".json")))
            continue;
        // A time that cannot be read counts as the distant past.
        const QDateTime modified = entry.lastModified();
        if (!newest || (modified.isValid() && (!newestTime.isValid() || modified > newestTime))) {
            newest = &entry;
            newestTime = modified;
        }
    }
    if (!newest)
        return std::nullopt;
    return newest->absoluteFilePath();
}

QString diagnosticsSupportTemplate(const SupportTemplateInput& input) {
    return UiText::diagnosticsSupportTemplate(
        input.time, input.sessionId.isEmpty() ? u"-"_s : input.sessionId, label(input.inputMode),
        input.sttModel,
        input.packageFileName.isEmpty() ? UiText::diagnosticsNoPackage : input.packageFileName);
}

QString supportTemplateTime(Timestamp moment) {
    return QLocale(QLocale::Finnish, QLocale::Finland)
        .toString(moment.toDateTime().toLocalTime(), u"dd.MM.yyyy HH:mm"_s);
}

} // namespace vesnara

#include "engine/diagnostics/DiagnosticsArchive.h"

#include "engine/diagnostics/DiagnosticFiles.h"

#include <QDir>
#include <QFile>

#include <zip.h>

#include <memory>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

struct ZipDiscard {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
using ZipPtr = std::unique_ptr<zip_t, ZipDiscard>;

[[noreturn]] void fail(const QString& step, const QString& cause) {
    throw DiagnosticsArchiveError((step + u": "_s + cause).toStdString());
}

QString errorText(zip_error_t* error) {
    return QString::fromUtf8(zip_error_strerror(error));
}

} // namespace

QList<DiagnosticsArchiveEntry> diagnosticsArchiveEntries(const DiagnosticExportPayload& payload,
                                                         const QString& transcriptText,
                                                         const QString& logText) {
    QList<DiagnosticsArchiveEntry> entries;
    entries.append({u"diagnostiikka.json"_s, diagnosticJsonBytes(payload.toJson())});
    entries.append({u"transkriptio-local.txt"_s, transcriptText.toUtf8()});
    entries.append({u"app-log.txt"_s, logText.toUtf8()});
    if (payload.transcript) {
        entries.append({u"transkriptio-server.json"_s,
                        diagnosticJsonBytes(serverTranscriptJson(*payload.transcript))});
    }
    if (payload.sessionMeta) {
        entries.append(
            {u"sessio-meta.json"_s, diagnosticJsonBytes(sessionMetaJson(*payload.sessionMeta))});
    }
    entries.append({u"README.txt"_s, diagnosticsReadmeBytes()});
    return entries;
}

void writeDiagnosticsArchive(const QString& targetPath,
                             const QList<DiagnosticsArchiveEntry>& entries) {
    if (QFile::exists(targetPath) && !QFile::remove(targetPath))
        fail(u"remove"_s, targetPath);
    int code = 0;
    ZipPtr archive(
        zip_open(QFile::encodeName(targetPath).constData(), ZIP_CREATE | ZIP_EXCL, &code));
    if (!archive) {
        zip_error_t error;
        zip_error_init_with_code(&error, code);
        const QString cause = errorText(&error);
        zip_error_fini(&error);
        fail(u"open"_s, cause);
    }
    // The sources only point at `entries`, which outlive the archive's close.
    for (const auto& entry : entries) {
        zip_source_t* source = zip_source_buffer(archive.get(), entry.bytes.constData(),
                                                 zip_uint64_t(entry.bytes.size()), 0);
        if (!source)
            fail(u"add "_s + entry.name, errorText(zip_get_error(archive.get())));
        if (zip_file_add(archive.get(), entry.name.toUtf8().constData(), source, ZIP_FL_ENC_UTF_8) <
            0) {
            zip_source_free(source);
            fail(u"add "_s + entry.name, errorText(zip_get_error(archive.get())));
        }
    }
    // libzip writes a temporary file beside the target and renames it only when all went well.
    if (zip_close(archive.get()) != 0) {
        const QString cause = errorText(zip_get_error(archive.get()));
        fail(u"close"_s, cause);
    }
    static_cast<void>(archive.release());
}

QString createDiagnosticsArchive(const DiagnosticExportPayload& payload,
                                 const QString& transcriptText, const QString& logText,
                                 const QString& directory, const QString& prefix,
                                 const QString& fileStamp) {
    const QList<DiagnosticsArchiveEntry> entries =
        diagnosticsArchiveEntries(payload, transcriptText, logText);
    const QString target = QDir(directory).filePath(diagnosticsArchiveName(prefix, fileStamp));
    writeDiagnosticsArchive(target, entries);
    return target;
}

} // namespace vesnara

#pragma once

// Reads back what a word processor would see in a .docx package.
#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QXmlStreamReader>

#include <zip.h>

#include <optional>

namespace vesnara::test {

using namespace Qt::StringLiterals;

/// Every entry of a ZIP archive by name, or nothing when libzip cannot read it consistently.
inline std::optional<QMap<QString, QByteArray>> unzip(const QByteArray& archive) {
    zip_error_t error;
    zip_error_init(&error);
    zip_source_t* source =
        zip_source_buffer_create(archive.constData(), zip_uint64_t(archive.size()), 0, &error);
    zip_t* zip =
        source ? zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error) : nullptr;
    zip_error_fini(&error);
    if (!zip) {
        zip_source_free(source);
        return std::nullopt;
    }
    QMap<QString, QByteArray> entries;
    for (zip_int64_t i = 0; i < zip_get_num_entries(zip, 0); ++i) {
        zip_stat_t stat;
        zip_file_t* file = zip_stat_index(zip, zip_uint64_t(i), 0, &stat) == 0
                               ? zip_fopen_index(zip, zip_uint64_t(i), 0)
                               : nullptr;
        if (!file)
            break;
        QByteArray bytes(qsizetype(stat.size), Qt::Uninitialized);
        const zip_int64_t read = zip_fread(file, bytes.data(), stat.size);
        zip_fclose(file);
        if (read != zip_int64_t(stat.size))
            break;
        entries.insert(QString::fromUtf8(stat.name), bytes);
    }
    const bool complete = entries.size() == zip_get_num_entries(zip, 0);
    zip_discard(zip);
    return complete ? std::optional(entries) : std::nullopt;
}

/// The document's paragraphs as "Style|text" ("|text" without a style); tabs read as "\t".
inline QStringList paragraphs(const QByteArray& documentXml) {
    const QString w = u"http://schemas.openxmlformats.org/wordprocessingml/2006/main"_s;
    QXmlStreamReader reader(documentXml);
    QStringList result;
    QString style;
    QString text;
    while (!reader.atEnd()) {
        reader.readNext();
        if (reader.isStartElement() && reader.namespaceUri() == w) {
            if (reader.name() == u"p") {
                style.clear();
                text.clear();
            } else if (reader.name() == u"pStyle") {
                style = reader.attributes().value(w, u"val"_s).toString();
            } else if (reader.name() == u"t") {
                text += reader.readElementText();
            } else if (reader.name() == u"tab") {
                text += u'\t';
            }
        } else if (reader.isEndElement() && reader.namespaceUri() == w && reader.name() == u"p") {
            result.append(style + u'|' + text);
        }
    }
    return reader.hasError() ? QStringList{u"malformed: "_s + reader.errorString()} : result;
}

/// The paragraphs of a .docx package's main document; empty when it cannot be read.
inline QStringList docxParagraphs(const QByteArray& docx) {
    const auto entries = unzip(docx);
    return entries && entries->contains(u"word/document.xml"_s)
               ? paragraphs(entries->value(u"word/document.xml"_s))
               : QStringList{};
}

} // namespace vesnara::test

#include "refbackend/DocxWriter.h"

#include <QXmlStreamWriter>

#include <zip.h>

#include <memory>
#include <utility>
#include <vector>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

const QString kTranscriptHeading = u"Puhtaaksikirjoitus"_s;
const QString kCreator = u"Vesnara"_s;

const QString kWordNs = u"http://schemas.openxmlformats.org/wordprocessingml/2006/main"_s;

constexpr char kContentTypes[] =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>
<Default Extension="xml" ContentType="application/xml"/>
<Override PartName="/word/document.xml" ContentType="application/vnd.openxmlformats-officedocument.wordprocessingml.document.main+xml"/>
<Override PartName="/word/styles.xml" ContentType="application/vnd.openxmlformats-officedocument.wordprocessingml.styles+xml"/>
<Override PartName="/docProps/core.xml" ContentType="application/vnd.openxmlformats-package.core-properties+xml"/>
</Types>
)";

constexpr char kPackageRels[] =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/officeDocument" Target="word/document.xml"/>
<Relationship Id="rId2" Type="http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties" Target="docProps/core.xml"/>
</Relationships>
)";

constexpr char kDocumentRels[] =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Id="rId1" Type="http://schemas.openxmlformats.org/officeDocument/2006/relationships/styles" Target="styles.xml"/>
</Relationships>
)";

constexpr char kStyles[] =
    R"(<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<w:styles xmlns:w="http://schemas.openxmlformats.org/wordprocessingml/2006/main">
<w:docDefaults>
<w:rPrDefault><w:rPr><w:rFonts w:ascii="Calibri" w:hAnsi="Calibri" w:eastAsia="Calibri" w:cs="Calibri"/><w:sz w:val="22"/><w:szCs w:val="22"/><w:lang w:val="fi-FI"/></w:rPr></w:rPrDefault>
<w:pPrDefault><w:pPr><w:spacing w:after="120"/></w:pPr></w:pPrDefault>
</w:docDefaults>
<w:style w:type="paragraph" w:default="1" w:styleId="Normal"><w:name w:val="Normal"/><w:qFormat/></w:style>
<w:style w:type="paragraph" w:styleId="Title"><w:name w:val="Title"/><w:basedOn w:val="Normal"/><w:next w:val="Normal"/><w:qFormat/><w:pPr><w:spacing w:after="240"/></w:pPr><w:rPr><w:b/><w:sz w:val="48"/><w:szCs w:val="48"/></w:rPr></w:style>
<w:style w:type="paragraph" w:styleId="Heading1"><w:name w:val="heading 1"/><w:basedOn w:val="Normal"/><w:next w:val="Normal"/><w:qFormat/><w:pPr><w:keepNext/><w:spacing w:before="360" w:after="120"/><w:outlineLvl w:val="0"/></w:pPr><w:rPr><w:b/><w:sz w:val="32"/><w:szCs w:val="32"/></w:rPr></w:style>
</w:styles>
)";

/// The text without what XML 1.0 cannot hold: control characters other than tab and line
/// ends, U+FFFE/U+FFFF and surrogates without their pair.
QString xmlSafe(const QString& text) {
    QString safe;
    safe.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (c.isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            safe.append(c);
            safe.append(text[++i]);
            continue;
        }
        const char16_t u = c.unicode();
        const bool allowed = (u >= 0x20 && !c.isSurrogate() && u != 0xFFFE && u != 0xFFFF) ||
                             u == u'\t' || u == u'\n' || u == u'\r';
        if (allowed)
            safe.append(c);
    }
    return safe;
}

/// One paragraph with an optional style; tabs become Word's tab element.
void writeParagraph(QXmlStreamWriter& xml, const QString& text, const QString& style = {}) {
    xml.writeStartElement(kWordNs, u"p"_s);
    if (!style.isEmpty()) {
        xml.writeStartElement(kWordNs, u"pPr"_s);
        xml.writeEmptyElement(kWordNs, u"pStyle"_s);
        xml.writeAttribute(kWordNs, u"val"_s, style);
        xml.writeEndElement();
    }
    if (!text.isEmpty()) {
        xml.writeStartElement(kWordNs, u"r"_s);
        const QStringList pieces = text.split(u'\t');
        for (qsizetype i = 0; i < pieces.size(); ++i) {
            if (i > 0)
                xml.writeEmptyElement(kWordNs, u"tab"_s);
            if (pieces[i].isEmpty())
                continue;
            xml.writeStartElement(kWordNs, u"t"_s);
            xml.writeAttribute(u"xml:space"_s, u"preserve"_s);
            xml.writeCharacters(pieces[i]);
            xml.writeEndElement();
        }
        xml.writeEndElement();
    }
    xml.writeEndElement();
}

/// Each line of a multi-line text as its own paragraph; nothing for an empty text.
void writeLines(QXmlStreamWriter& xml, const QString& text) {
    if (text.isEmpty())
        return;
    QString normalized = text;
    normalized.replace(u"\r\n"_s, u"\n"_s).replace(u'\r', u'\n');
    for (const QString& line : normalized.split(u'\n'))
        writeParagraph(xml, xmlSafe(line));
}

QByteArray documentXml(const Memo& memo) {
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.writeStartDocument(u"1.0"_s, true);
    xml.writeNamespace(kWordNs, u"w"_s);
    xml.writeStartElement(kWordNs, u"document"_s);
    xml.writeStartElement(kWordNs, u"body"_s);

    // A title spanning lines would split the heading; one line reads better.
    writeParagraph(xml, xmlSafe(memo.title.simplified()), u"Title"_s);
    writeLines(xml, memo.summary);
    writeParagraph(xml, kTranscriptHeading, u"Heading1"_s);
    writeLines(xml, memo.cleanTranscript);

    // A4 with 2.5 cm margins.
    xml.writeStartElement(kWordNs, u"sectPr"_s);
    xml.writeEmptyElement(kWordNs, u"pgSz"_s);
    xml.writeAttribute(kWordNs, u"w"_s, u"11906"_s);
    xml.writeAttribute(kWordNs, u"h"_s, u"16838"_s);
    xml.writeEmptyElement(kWordNs, u"pgMar"_s);
    const std::pair<QString, QString> margins[] = {
        {u"top"_s, u"1418"_s},  {u"right"_s, u"1418"_s}, {u"bottom"_s, u"1418"_s},
        {u"left"_s, u"1418"_s}, {u"header"_s, u"708"_s}, {u"footer"_s, u"708"_s},
        {u"gutter"_s, u"0"_s}};
    for (const auto& [side, twips] : margins)
        xml.writeAttribute(kWordNs, side, twips);
    xml.writeEndElement();

    xml.writeEndElement();
    xml.writeEndElement();
    xml.writeEndDocument();
    return xml.hasError() ? QByteArray() : bytes;
}

QByteArray coreXml(const Memo& memo) {
    const QString cp = u"http://schemas.openxmlformats.org/package/2006/metadata/core-properties"_s;
    const QString dc = u"http://purl.org/dc/elements/1.1/"_s;
    QByteArray bytes;
    QXmlStreamWriter xml(&bytes);
    xml.writeStartDocument(u"1.0"_s, true);
    xml.writeNamespace(cp, u"cp"_s);
    xml.writeNamespace(dc, u"dc"_s);
    xml.writeStartElement(cp, u"coreProperties"_s);
    xml.writeTextElement(dc, u"title"_s, xmlSafe(memo.title.simplified()));
    xml.writeTextElement(dc, u"creator"_s, kCreator);
    xml.writeEndElement();
    xml.writeEndDocument();
    return xml.hasError() ? QByteArray() : bytes;
}

struct ZipDiscard {
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
struct SourceFree {
    void operator()(zip_source_t* source) const { zip_source_free(source); }
};
using ZipPtr = std::unique_ptr<zip_t, ZipDiscard>;
using SourcePtr = std::unique_ptr<zip_source_t, SourceFree>;

QString zipErrorText(zip_error_t* error) {
    return QString::fromUtf8(zip_error_strerror(error));
}

/// The finished archive, read back from the buffer source it was written to.
QByteArray readSource(zip_source_t* source, QString* why) {
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_source_stat(source, &stat) != 0 || !(stat.valid & ZIP_STAT_SIZE)) {
        *why = zipErrorText(zip_source_error(source));
        return {};
    }
    if (zip_source_open(source) != 0) {
        *why = zipErrorText(zip_source_error(source));
        return {};
    }
    QByteArray bytes(qsizetype(stat.size), Qt::Uninitialized);
    const zip_int64_t read = zip_source_read(source, bytes.data(), stat.size);
    zip_source_close(source);
    if (read < 0 || zip_uint64_t(read) != stat.size) {
        *why = u"short read of the finished archive"_s;
        return {};
    }
    return bytes;
}

} // namespace

QByteArray writeMemoDocx(const Memo& memo, QString* error) {
    QString why;
    const auto fail = [&](const QString& reason) {
        if (error)
            *error = u"Cannot write the memo document: "_s + reason;
        return QByteArray();
    };

    // The entries' bytes must outlive zip_close, which is when libzip reads them.
    const std::vector<std::pair<const char*, QByteArray>> entries{
        {"[Content_Types].xml", QByteArray(kContentTypes)},
        {"_rels/.rels", QByteArray(kPackageRels)},
        {"docProps/core.xml", coreXml(memo)},
        {"word/document.xml", documentXml(memo)},
        {"word/_rels/document.xml.rels", QByteArray(kDocumentRels)},
        {"word/styles.xml", QByteArray(kStyles)},
    };
    for (const auto& [name, bytes] : entries)
        if (bytes.isEmpty())
            return fail(u"could not form "_s + QString::fromLatin1(name));

    zip_error_t zipError;
    zip_error_init(&zipError);
    SourcePtr source(zip_source_buffer_create(nullptr, 0, 0, &zipError));
    if (!source) {
        why = zipErrorText(&zipError);
        zip_error_fini(&zipError);
        return fail(why);
    }
    ZipPtr archive(zip_open_from_source(source.get(), ZIP_TRUNCATE, &zipError));
    if (!archive) {
        why = zipErrorText(&zipError);
        zip_error_fini(&zipError);
        return fail(why);
    }
    zip_error_fini(&zipError);
    // The archive now holds a reference; ours keeps the source alive past zip_close.
    zip_source_keep(source.get());

    for (const auto& [name, bytes] : entries) {
        zip_source_t* entry =
            zip_source_buffer(archive.get(), bytes.constData(), zip_uint64_t(bytes.size()), 0);
        if (!entry)
            return fail(zipErrorText(zip_get_error(archive.get())));
        if (zip_file_add(archive.get(), name, entry, ZIP_FL_ENC_UTF_8) < 0) {
            zip_source_free(entry);
            return fail(zipErrorText(zip_get_error(archive.get())));
        }
    }
    if (zip_close(archive.get()) != 0)
        return fail(zipErrorText(zip_get_error(archive.get())));
    (void)archive.release(); // zip_close freed it

    QByteArray bytes = readSource(source.get(), &why);
    if (bytes.isEmpty())
        return fail(why);
    if (error)
        error->clear();
    return bytes;
}

} // namespace vesnara::refbackend

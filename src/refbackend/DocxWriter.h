#pragma once

#include "refbackend/MemoBuilder.h"

#include <QByteArray>
#include <QString>

namespace vesnara::refbackend {

/// Writes a memo as a minimal WordprocessingML (DOCX) package that word processors open.
///
/// The package holds `[Content_Types].xml`, `_rels/.rels`, `docProps/core.xml`,
/// `word/document.xml`, `word/_rels/document.xml.rels` and `word/styles.xml`. The document is
/// the title in the Title style, each summary line as a paragraph, a "Puhtaaksikirjoitus"
/// heading and each transcript line as a paragraph. Text is XML-escaped; characters XML cannot
/// hold (control characters other than tab, unpaired surrogates) are dropped. The archive is
/// built in memory; nothing touches the disk.
///
/// Gives empty bytes and, when `error` is given, an English description on failure.
QByteArray writeMemoDocx(const Memo& memo, QString* error = nullptr);

} // namespace vesnara::refbackend

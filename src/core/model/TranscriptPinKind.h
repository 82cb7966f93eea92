#pragma once

#include "model/Enumerations.h"

#include <QList>
#include <QString>

#include <optional>

namespace vesnara {

/// In the order the pickers offer them.
const QList<TranscriptPinKind>& allTranscriptPinKinds();
QString jsonValue(TranscriptPinKind kind);
std::optional<TranscriptPinKind> transcriptPinKindFromJsonValue(const QString& value);
QString label(TranscriptPinKind kind);
QString shortLabel(TranscriptPinKind kind);
/// The symbol name of the kind's icon; the UI maps it to an image of its own.
QString iconName(TranscriptPinKind kind);

} // namespace vesnara

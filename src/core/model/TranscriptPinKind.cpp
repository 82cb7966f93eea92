#include "model/TranscriptPinKind.h"

#include "text/UiText.h"

#include <array>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

struct PinKindInfo {
    QString jsonValue;
    QString label;
    QString shortLabel;
    QString iconName;
};

// Indexed by the enumeration's value.
const PinKindInfo& infoOf(TranscriptPinKind kind) {
    static const std::array<PinKindInfo, 3> table{{
        {u"important"_s, UiText::pinKindImportant, UiText::pinKindImportantShort,
         u"exclamationmark.circle.fill"_s},
        {u"topicChange"_s, UiText::pinKindTopicChange, UiText::pinKindTopicChangeShort,
         u"arrow.triangle.branch"_s},
        {u"revisit"_s, UiText::pinKindRevisit, UiText::pinKindRevisitShort, u"pin.fill"_s},
    }};
    return table.at(static_cast<std::size_t>(kind));
}

} // namespace

const QList<TranscriptPinKind>& allTranscriptPinKinds() {
    static const QList<TranscriptPinKind> kinds{
        TranscriptPinKind::important, TranscriptPinKind::topicChange, TranscriptPinKind::revisit};
    return kinds;
}

QString jsonValue(TranscriptPinKind kind) {
    return infoOf(kind).jsonValue;
}
QString label(TranscriptPinKind kind) {
    return infoOf(kind).label;
}
QString shortLabel(TranscriptPinKind kind) {
    return infoOf(kind).shortLabel;
}
QString iconName(TranscriptPinKind kind) {
    return infoOf(kind).iconName;
}

std::optional<TranscriptPinKind> transcriptPinKindFromJsonValue(const QString& value) {
    for (const auto kind : allTranscriptPinKinds()) {
        if (jsonValue(kind) == value)
            return kind;
    }
    return std::nullopt;
}

} // namespace vesnara

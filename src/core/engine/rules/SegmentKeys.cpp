#include "engine/rules/SegmentKeys.h"

#include <QRegularExpression>

#include <cmath>

using namespace Qt::StringLiterals;

namespace vesnara {

QString normalizedSegmentText(const QString& text) {
    // Unicode properties make \s match every Unicode white space, not only ASCII.
    static const QRegularExpression whiteSpaceRun(u"\\s+"_s,
                                                  QRegularExpression::UseUnicodePropertiesOption);
    return text.toLower().replace(whiteSpaceRun, u" "_s).trimmed();
}

QString segmentKey(const QString& text, Timestamp timestamp) {
    const auto seconds = static_cast<qint64>(std::round(timestamp.unixSeconds()));
    return QString::number(seconds) + u'|' + normalizedSegmentText(text);
}

} // namespace vesnara

#include "model/Timestamp.h"

#include <QRegularExpression>
#include <QTimeZone>

#include <chrono>
#include <cmath>

using namespace Qt::StringLiterals;

namespace vesnara {

Timestamp Timestamp::fromDateTime(const QDateTime& dateTime) {
    return fromUnixSeconds(static_cast<double>(dateTime.toMSecsSinceEpoch()) / 1000.0);
}

Timestamp Timestamp::now() {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const double micros = static_cast<double>(
        std::chrono::duration_cast<std::chrono::microseconds>(sinceEpoch).count());
    return fromUnixSeconds(micros / 1e6);
}

QDateTime Timestamp::toDateTime() const {
    const auto msecs = static_cast<qint64>(std::floor(unixSeconds() * 1000.0));
    return QDateTime::fromMSecsSinceEpoch(msecs, QTimeZone::utc());
}

QString Timestamp::toIso8601() const {
    const auto wholeSeconds = static_cast<qint64>(std::floor(unixSeconds()));
    return QDateTime::fromSecsSinceEpoch(wholeSeconds, QTimeZone::utc())
        .toString(u"yyyy-MM-ddTHH:mm:ss'Z'"_s);
}

std::optional<Timestamp> Timestamp::parseIso8601(const QString& text, FractionalSeconds fraction) {
    static const QRegularExpression pattern(
        uR"(^(\d{4})-(\d{2})-(\d{2})T(\d{2}):(\d{2}):(\d{2})(\.\d+)?(Z|[+-]\d{2}:?\d{2})$)"_s);
    const auto match = pattern.match(text);
    if (!match.hasMatch())
        return std::nullopt;
    if (fraction == FractionalSeconds::notAllowed && match.hasCaptured(7))
        return std::nullopt;

    const QDate date(match.captured(1).toInt(), match.captured(2).toInt(),
                     match.captured(3).toInt());
    const QTime time(match.captured(4).toInt(), match.captured(5).toInt(),
                     match.captured(6).toInt());
    if (!date.isValid() || !time.isValid())
        return std::nullopt;

    int offsetSeconds = 0;
    const QString zone = match.captured(8);
    if (zone != u"Z"_s) {
        const QString digits = QString(zone).remove(u':');
        const int hours = digits.mid(1, 2).toInt();
        const int minutes = digits.mid(3, 2).toInt();
        if (hours > 23 || minutes > 59)
            return std::nullopt;
        offsetSeconds = (hours * 3600 + minutes * 60) * (zone.startsWith(u'-') ? -1 : 1);
    }

    const QDateTime utc(date, time, QTimeZone::utc());
    double unix = static_cast<double>(utc.toSecsSinceEpoch() - offsetSeconds);
    if (const QString fractionText = match.captured(7); !fractionText.isEmpty())
        unix += (u"0"_s + fractionText).toDouble();
    return fromUnixSeconds(unix);
}

QString Timestamp::clockText() const {
    return toDateTime().toLocalTime().toString(u"HH:mm:ss"_s);
}

QString Timestamp::fileStampText() const {
    return toDateTime().toLocalTime().toString(u"yyyyMMdd-HHmmss"_s);
}

} // namespace vesnara

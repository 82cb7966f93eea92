#pragma once

#include <QDateTime>
#include <QString>

#include <compare>
#include <optional>

namespace vesnara {

/// A moment in time as seconds since 2001-01-01T00:00:00Z.
///
/// This is the on-disk form of saved sessions, so a value read from a file and written again
/// is the same double bit for bit. All other forms are conversions from it.
class Timestamp {
public:
    /// Seconds between the Unix epoch and 2001-01-01T00:00:00Z.
    static constexpr double kReferenceDateUnixSeconds = 978307200.0;

    constexpr Timestamp() = default;
    static constexpr Timestamp fromSecondsSinceReferenceDate(double seconds) {
        return Timestamp(seconds);
    }
    static constexpr Timestamp fromUnixSeconds(double unixSeconds) {
        return Timestamp(unixSeconds - kReferenceDateUnixSeconds);
    }
    static Timestamp fromDateTime(const QDateTime& dateTime);
    static Timestamp now();

    constexpr double secondsSinceReferenceDate() const { return m_seconds; }
    constexpr double unixSeconds() const { return m_seconds + kReferenceDateUnixSeconds; }
    /// Millisecond precision; the fraction below a millisecond is dropped.
    QDateTime toDateTime() const;

    constexpr Timestamp addingSeconds(double seconds) const {
        return Timestamp(m_seconds + seconds);
    }
    constexpr double secondsSince(Timestamp earlier) const { return m_seconds - earlier.m_seconds; }

    /// ISO 8601 in UTC with whole seconds, as in "2026-03-04T09:15:02Z" (the fraction is dropped).
    QString toIso8601() const;
    /// Whether `parseIso8601` accepts a fraction of a second after the seconds.
    enum class FractionalSeconds { allowed, notAllowed };
    /// Reads an ISO 8601 date-time with a zone, with fractional seconds first, then without.
    /// Anything else (no zone, no time, trailing text) gives nothing. With
    /// `FractionalSeconds::notAllowed` only the plain internet date-time is read and a text with
    /// a fraction gives nothing, as the stream's line times are read.
    static std::optional<Timestamp>
    parseIso8601(const QString& text, FractionalSeconds fraction = FractionalSeconds::allowed);

    /// "HH:mm:ss" in the local time zone, as shown on screen and in plain-text exports.
    QString clockText() const;
    /// "yyyyMMdd-HHmmss" in the local time zone, as used in generated file names.
    QString fileStampText() const;

    friend constexpr auto operator<=>(Timestamp, Timestamp) = default;

private:
    constexpr explicit Timestamp(double seconds)
        : m_seconds(seconds) {}
    double m_seconds = 0.0;
};

} // namespace vesnara

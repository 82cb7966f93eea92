#pragma once

#include "model/Timestamp.h"

#include <QString>

namespace vesnara {

// The key by which a transcript line that arrives twice (from the stream and from the poll, or
// from the server after a crash) is recognised as one line.

/// `text` lower-cased, every run of white space made one blank, then trimmed at both ends, so
/// that lines differing only in case or spacing compare equal.
QString normalizedSegmentText(const QString& text);

/// "<seconds>|<normalized text>", where <seconds> is `timestamp` in Unix seconds rounded to the
/// nearest whole second, halves away from zero. Two lines with one key are one line.
QString segmentKey(const QString& text, Timestamp timestamp);

} // namespace vesnara

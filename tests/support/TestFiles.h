#pragma once

#include <QByteArray>
#include <QString>

namespace vesnara::test {

/// Writes `bytes` to `path`, creating its directory; fails the running test on error.
void writeFile(const QString& path, const QByteArray& bytes);
/// The whole file, or an empty array when it cannot be read.
QByteArray readFile(const QString& path);

} // namespace vesnara::test

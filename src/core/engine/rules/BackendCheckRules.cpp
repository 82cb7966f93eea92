#include "engine/rules/BackendCheckRules.h"

#include "backend/HealthResponse.h"
#include "text/UiText.h"

#include <QList>
#include <QRegularExpression>
#include <QTextBoundaryFinder>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

QList<qint64> versionNumbers(const QString& version) {
    // Whole pieces only: " 2", "2a" and "+" are not numbers, and a number too large for 64 bits
    // is not one either.
    static const QRegularExpression number(u"^[+-]?[0-9]+$"_s);
    QList<qint64> numbers;
    for (const QString& piece : version.split(u'.', Qt::SkipEmptyParts)) {
        if (!number.match(piece).hasMatch())
            continue;
        bool ok = false;
        const qint64 value = piece.toLongLong(&ok, 10);
        if (ok)
            numbers.append(value);
    }
    return numbers;
}

/// The first `count` user-perceived characters of `text`, so a combined letter is never cut.
QString leadingCharacters(const QString& text, int count) {
    QTextBoundaryFinder graphemes(QTextBoundaryFinder::Grapheme, text);
    qsizetype end = 0;
    for (int taken = 0; taken < count; ++taken) {
        const qsizetype next = graphemes.toNextBoundary();
        if (next < 0)
            return text;
        end = next;
    }
    return text.left(end);
}

} // namespace

QString currentAppVersion(const QString& applicationVersion) {
    return applicationVersion.isEmpty() ? u"0.0.0"_s : applicationVersion;
}

int compareSemanticVersion(const QString& a, const QString& b) {
    const QList<qint64> left = versionNumbers(a);
    const QList<qint64> right = versionNumbers(b);
    const qsizetype length = std::max(left.size(), right.size());
    for (qsizetype i = 0; i < length; ++i) {
        const qint64 x = left.value(i, 0);
        const qint64 y = right.value(i, 0);
        if (x != y)
            return x > y ? 1 : -1;
    }
    return 0;
}

std::optional<QUrl> openableDownloadUrl(const std::optional<QString>& downloadURL) {
    if (!downloadURL)
        return std::nullopt;
    const QUrl url(*downloadURL, QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != u"http"_s && scheme != u"https"_s) || url.host().isEmpty())
        return std::nullopt;
    return url;
}

QString memoBackendStatus(const HealthResponse& health) {
    std::optional<bool> configured = health.openAIConfigured;
    std::optional<QString> model = health.openAIModel;
    if (health.memoAI) {
        if (health.memoAI->configured)
            configured = health.memoAI->configured;
        if (health.memoAI->model)
            model = health.memoAI->model;
    }
    if (!configured)
        return UiText::memoBackendStatusOldBackend;
    if (!*configured)
        return UiText::memoBackendStatusNotConfigured;
    const QString trimmedModel = model.value_or(QString()).trimmed();
    return trimmedModel.isEmpty() ? UiText::memoBackendStatusInUse
                                  : UiText::memoBackendStatusInUseWithModel(trimmedModel);
}

QString connectionTestStatus(const HealthResponse& health) {
    return health.ok ? UiText::connectionOk(leadingCharacters(health.time, 19))
                     : UiText::connectionTestFailed;
}

} // namespace vesnara

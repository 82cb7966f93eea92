#include "forms/FormRules.h"

#include "model/JsonReader.h"
#include "model/UserFacingError.h"
#include "storage/AppLog.h"

#include <QTextBoundaryFinder>

using namespace Qt::StringLiterals;

namespace vesnara::forms {

qsizetype visibleCharacterCount(const QString& text) {
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype count = 0;
    while (finder.toNextBoundary() != -1)
        ++count;
    return count;
}

QString failureText(const std::exception_ptr& error, const QString& fallback) {
    if (!error)
        return fallback;
    try {
        std::rethrow_exception(error);
    } catch (const UserFacingError& e) {
        return e.description();
    } catch (const JsonDecodeError& e) {
        AppLog::write(u"formError type=invalidResponse detail=%1"_s.arg(e.description()));
    } catch (const std::exception& e) {
        AppLog::write(u"formError type=unexpected detail=%1"_s.arg(QString::fromUtf8(e.what())));
    } catch (...) {
        AppLog::write(u"formError type=unexpected detail=not-an-exception"_s);
    }
    return fallback;
}

} // namespace vesnara::forms

#include "text/UserErrorDescription.h"

#include "model/JsonReader.h"
#include "model/UserFacingError.h"
#include "storage/AppLog.h"
#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

QString userErrorDescription(const std::exception_ptr& error) {
    if (!error)
        return UiText::unexpectedError;
    try {
        std::rethrow_exception(error);
    } catch (const UserFacingError& e) {
        return e.description();
    } catch (const JsonDecodeError& e) {
        AppLog::write(u"userError type=invalidResponse detail=%1"_s.arg(e.description()));
        return UiText::backendInvalidResponse;
    } catch (const std::exception& e) {
        AppLog::write(u"userError type=unexpected detail=%1"_s.arg(QString::fromUtf8(e.what())));
    } catch (...) {
        AppLog::write(u"userError type=unexpected detail=not-an-exception"_s);
    }
    return UiText::unexpectedError;
}

} // namespace vesnara

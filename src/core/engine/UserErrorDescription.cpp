#include "engine/UserErrorDescription.h"

#include "audio/MicrophoneCaptureError.h"
#include "audio/SystemAudioCaptureError.h"
#include "backend/APIClientError.h"
#include "backend/HttpTransport.h"
#include "model/JsonReader.h"
#include "text/UiText.h"

namespace vesnara {

QString userErrorDescription(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const APIClientError& e) {
        return e.description();
    } catch (const TransportError& e) {
        return e.description();
    } catch (const MicrophoneCaptureError& e) {
        return e.description();
    } catch (const SystemAudioCaptureError& e) {
        return e.description();
    } catch (const JsonDecodeError&) {
        return UiText::backendInvalidResponse;
    } catch (const std::exception& e) {
        return QString::fromUtf8(e.what());
    } catch (...) {
    }
    return UiText::backendInvalidResponse;
}

} // namespace vesnara

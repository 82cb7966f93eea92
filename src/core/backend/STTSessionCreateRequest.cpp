#include "backend/STTSessionCreateRequest.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

STTSessionCreateRequest STTSessionCreateRequest::fromJson(const JsonReader& json) {
    return STTSessionCreateRequest{
        .language = json.requiredString(u"language"_s),
        .sttModel = json.requiredString(u"sttModel"_s),
        .enableInterim = json.requiredBool(u"enableInterim"_s),
        .enableSpeakerDiarization = json.requiredBool(u"enableSpeakerDiarization"_s),
        .speakerCount = json.requiredInteger(u"speakerCount"_s),
    };
}

QJsonObject STTSessionCreateRequest::toJson() const {
    return QJsonObject{
        {u"language"_s, language},
        {u"enableInterim"_s, enableInterim},
        {u"sttModel"_s, sttModel},
        {u"enableSpeakerDiarization"_s, enableSpeakerDiarization},
        {u"speakerCount"_s, speakerCount},
    };
}

} // namespace vesnara

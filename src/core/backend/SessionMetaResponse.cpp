#include "backend/SessionMetaResponse.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

SessionMetaResponse::SessionErrorInfo
SessionMetaResponse::SessionErrorInfo::fromJson(const JsonReader& json) {
    return SessionErrorInfo{
        .at = json.optionalString(u"at"_s),
        .code = json.optionalInteger(u"code"_s),
        .message = json.optionalString(u"message"_s),
    };
}

SessionMetaResponse SessionMetaResponse::fromJson(const JsonReader& json) {
    SessionMetaResponse meta{
        .id = json.optionalString(u"id"_s),
        .status = json.optionalString(u"status"_s),
        .createdAt = json.optionalString(u"createdAt"_s),
        .endedAt = json.optionalString(u"endedAt"_s),
        .language = json.optionalString(u"language"_s),
        .sttModel = json.optionalString(u"sttModel"_s),
        .audioFrameCount = json.optionalInteger(u"audioFrameCount"_s),
        .audioBytes = json.optionalInteger(u"audioBytes"_s),
        .avgAudioLevel = json.optionalDouble(u"avgAudioLevel"_s),
        .peakAudioLevel = json.optionalDouble(u"peakAudioLevel"_s),
        .interimCount = json.optionalInteger(u"interimCount"_s),
        .finalCount = json.optionalInteger(u"finalCount"_s),
        .segmentCount = json.optionalInteger(u"segmentCount"_s),
        .lastSttError = std::nullopt,
    };
    const QString errorKey = u"lastSttError"_s;
    if (const auto error = json.optionalObject(errorKey))
        meta.lastSttError = SessionErrorInfo::fromJson(JsonReader(*error, json.pathOf(errorKey)));
    return meta;
}

SessionListResponse SessionListResponse::fromJson(const JsonReader& json) {
    return SessionListResponse{
        .items = json.requiredList(u"items"_s, &SessionMetaResponse::fromJson),
    };
}

} // namespace vesnara

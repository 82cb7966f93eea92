#include "backend/HealthResponse.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

HealthResponse::MemoAIStatus HealthResponse::MemoAIStatus::fromJson(const JsonReader& json) {
    return MemoAIStatus{
        .configured = json.optionalBool(u"configured"_s),
        .model = json.optionalString(u"model"_s),
    };
}

HealthResponse HealthResponse::fromJson(const JsonReader& json) {
    HealthResponse health{
        .ok = json.requiredBool(u"ok"_s),
        .time = json.requiredString(u"time"_s),
        .openAIConfigured = json.optionalBool(u"openAIConfigured"_s),
        .openAIModel = json.optionalString(u"openAIModel"_s),
        .memoAI = std::nullopt,
    };
    const QString memoAIKey = u"memoAI"_s;
    if (const auto memoAI = json.optionalObject(memoAIKey))
        health.memoAI = MemoAIStatus::fromJson(JsonReader(*memoAI, json.pathOf(memoAIKey)));
    return health;
}

} // namespace vesnara

#include "backend/AppUpdateManifest.h"

#include "model/JsonReader.h"

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

template <typename Record>
std::optional<Record> optionalRecord(const JsonReader& json, const QString& key) {
    if (const auto object = json.optionalObject(key))
        return Record::fromJson(JsonReader(*object, json.pathOf(key)));
    return std::nullopt;
}

} // namespace

AppUpdateManifest::Artifact AppUpdateManifest::Artifact::fromJson(const JsonReader& json) {
    return Artifact{
        .file = json.requiredString(u"file"_s),
        .sha256 = json.optionalString(u"sha256"_s),
        .size = json.optionalInteger(u"size"_s),
        .url = json.optionalString(u"url"_s),
    };
}

AppUpdateManifest::Artifacts AppUpdateManifest::Artifacts::fromJson(const JsonReader& json) {
    return Artifacts{
        .dmg = optionalRecord<Artifact>(json, u"dmg"_s),
        .zip = optionalRecord<Artifact>(json, u"zip"_s),
    };
}

AppUpdateManifest AppUpdateManifest::fromJson(const JsonReader& json) {
    return AppUpdateManifest{
        .app = json.optionalString(u"app"_s),
        .channel = json.optionalString(u"channel"_s),
        .version = json.requiredString(u"version"_s),
        .buildNumber = json.optionalString(u"buildNumber"_s),
        .publishedAt = json.optionalString(u"publishedAt"_s),
        .minimumSystemVersion = json.optionalString(u"minimumSystemVersion"_s),
        .downloadURL = json.optionalString(u"downloadURL"_s),
        .releaseNotesURL = json.optionalString(u"releaseNotesURL"_s),
        .artifacts = optionalRecord<Artifacts>(json, u"artifacts"_s),
    };
}

} // namespace vesnara

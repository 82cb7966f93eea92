#pragma once

#include <QString>

#include <optional>

namespace vesnara {

class JsonReader;

/// The update manifest on the download server: the newest version and where to get it.
///
/// Only `version` and `downloadURL` are acted on, but every field is decoded all the same, so a
/// mistyped field anywhere fails the update check rather than being passed over.
struct AppUpdateManifest {
    /// One downloadable file of a release. Its checksum is not verified by this client.
    struct Artifact {
        QString file;
        std::optional<QString> sha256 = {};
        std::optional<qint64> size = {};
        std::optional<QString> url = {};

        static Artifact fromJson(const JsonReader& json);

        friend bool operator==(const Artifact&, const Artifact&) = default;
    };

    /// The files of a release by package kind.
    struct Artifacts {
        std::optional<Artifact> dmg = {};
        std::optional<Artifact> zip = {};

        static Artifacts fromJson(const JsonReader& json);

        friend bool operator==(const Artifacts&, const Artifacts&) = default;
    };

    std::optional<QString> app = {};
    std::optional<QString> channel = {};
    /// The newest version, compared numerically with the running one.
    QString version;
    std::optional<QString> buildNumber = {};
    std::optional<QString> publishedAt = {};
    std::optional<QString> minimumSystemVersion = {};
    /// The page or file opened for the user when the version is newer.
    std::optional<QString> downloadURL = {};
    std::optional<QString> releaseNotesURL = {};
    std::optional<Artifacts> artifacts = {};

    /// `version` is required. Throws `JsonDecodeError` naming the first missing or mistyped key.
    static AppUpdateManifest fromJson(const JsonReader& json);

    friend bool operator==(const AppUpdateManifest&, const AppUpdateManifest&) = default;
};

} // namespace vesnara

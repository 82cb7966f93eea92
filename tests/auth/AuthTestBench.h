#pragma once

#include "auth/AuthManager.h"
#include "auth/AuthRequestError.h"
#include "backend/HttpTransport.h"
#include "model/DeploymentDefaults.h"
#include "refbackend/RefBackend.h"
#include "support/AwaitTask.h"
#include "support/InMemoryPreferences.h"
#include "support/TestHttp.h"

#include <QJsonDocument>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace vesnara::test {

using namespace Qt::StringLiterals;

/// A reference backend with user administration on and one account, preferences in memory
/// that point the auth URL at it, and a transport that keeps every request it sends.
class AuthBench {
public:
    static inline const QString email = u"maija@example.test"_s;
    static inline const QString password = u"salasana-1"_s;
    static inline const QString adminKey = u"hallinta-avain-42"_s;
    /// The fixed "now" of the managers the bench makes.
    static Timestamp now() { return *Timestamp::parseIso8601(u"2026-02-11T08:30:00Z"_s); }

    AuthBench() {
        refbackend::RefBackendOptions options;
        options.dataDirectory = m_directory.path();
        options.apiKey = QString::fromUtf16(DeploymentDefaults::sharedAPIKey);
        options.recognizer = refbackend::RecognizerKind::scripted;
        options.adminKey = adminKey;
        m_backend = std::make_unique<refbackend::RefBackend>(options);
        m_listening = m_backend->listen();
        m_backend->users().create(email, password, u"user"_s);
        preferences.setString(AuthManager::authURLKey, url());
        transport.setSendObserver([this](const HttpRequest& request) { sent.append(request); });
    }

    bool isListening() const { return m_listening; }
    refbackend::RefBackend& backend() { return *m_backend; }
    QString url() const { return m_backend->baseUrl().toString(); }

    /// A manager on the bench's preferences and transport, its clock at `now()`.
    std::unique_ptr<AuthManager> makeManager() {
        return std::make_unique<AuthManager>(preferences, transport, Timing{}, &AuthBench::now);
    }
    /// A manager whose start check has ended.
    std::unique_ptr<AuthManager> makeCheckedManager() {
        auto manager = makeManager();
        const bool checked = QTest::qWaitFor([&manager] { return !manager->isChecking(); }, 10'000);
        return checked ? std::move(manager) : nullptr;
    }

    /// The requests the backend received on `path`.
    QList<refbackend::RecordedRequest> received(const QString& path) const {
        QList<refbackend::RecordedRequest> matching;
        for (const auto& request : m_backend->requests()) {
            if (request.path == path)
                matching.append(request);
        }
        return matching;
    }

    void storeMeta(const QString& verifiedAt, const QString& authURL) {
        const StoredAuthMeta meta{
            .user = AuthUser{.id = 7, .email = email, .role = u"admin"_s},
            .verifiedAt = verifiedAt,
            .authURL = authURL,
        };
        preferences.setBytes(AuthManager::authMetaKey, QJsonDocument(meta.toJson()).toJson());
    }

    InMemoryPreferences preferences;
    HttpTransport transport;
    QList<HttpRequest> sent;

private:
    QTemporaryDir m_directory;
    std::unique_ptr<refbackend::RefBackend> m_backend;
    bool m_listening = false;
};

inline refbackend::HttpFault respond(const QString& path, int status, const QByteArray& body) {
    refbackend::HttpFault fault;
    fault.kind = refbackend::HttpFault::Kind::respond;
    fault.pathContains = path;
    fault.status = status;
    fault.body = body;
    return fault;
}

/// The description of the `AuthRequestError` the task threw, or a text no real one has.
template <typename Outcome> QString authErrorText(const Outcome& outcome) {
    const auto error = outcome.template errorAs<AuthRequestError>();
    return error ? error->description() : u"<no AuthRequestError>"_s;
}

template <typename Outcome> std::optional<AuthRequestError::Kind> authErrorKind(const Outcome& o) {
    const auto error = o.template errorAs<AuthRequestError>();
    return error ? std::optional(error->kind()) : std::nullopt;
}

inline QJsonObject jsonOf(const QByteArray& body) {
    return QJsonDocument::fromJson(body).object();
}

} // namespace vesnara::test

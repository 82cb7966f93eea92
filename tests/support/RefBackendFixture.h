#pragma once

#include "model/STTConfiguration.h"
#include "refbackend/RefBackend.h"

#include <QTemporaryDir>

#include <memory>

namespace vesnara::test {

/// An in-process reference backend on a free loopback port, with its data in a temporary
/// directory, the scripted recogniser, stream messages recorded, and one signed-in user.
class RefBackendFixture {
public:
    explicit RefBackendFixture(
        refbackend::RecognizerKind recognizer = refbackend::RecognizerKind::scripted);

    refbackend::RefBackend& backend() { return *m_backend; }
    refbackend::RefBackend* operator->() { return m_backend.get(); }
    /// False when the backend could not listen; the test should fail with `errorString`.
    bool isListening() const { return m_listening; }
    /// The live session token of the fixture's user.
    const QString& token() const { return m_token; }
    QString dataDirectory() const { return m_dataDirectory.path(); }
    /// A configuration that reaches this backend as the fixture's user.
    STTConfiguration config() const;

private:
    QTemporaryDir m_dataDirectory;
    std::unique_ptr<refbackend::RefBackend> m_backend;
    QString m_token;
    bool m_listening = false;
};

} // namespace vesnara::test

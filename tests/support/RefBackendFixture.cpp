#include "support/RefBackendFixture.h"

#include "model/DeploymentDefaults.h"

using namespace Qt::StringLiterals;

namespace vesnara::test {

RefBackendFixture::RefBackendFixture(refbackend::RecognizerKind recognizer) {
    refbackend::RefBackendOptions options;
    options.dataDirectory = m_dataDirectory.path();
    options.apiKey = QString::fromUtf16(DeploymentDefaults::sharedAPIKey);
    options.recognizer = recognizer;
    options.recordStreamMessages = true;
    m_backend = std::make_unique<refbackend::RefBackend>(options);
    m_listening = m_backend->listen();
    m_token = m_backend->issueToken(u"testaaja@vesnara.test"_s);
}

STTConfiguration RefBackendFixture::config() const {
    STTConfiguration config = STTConfiguration::defaults();
    config.baseURL = m_backend->baseUrl().toString();
    config.apiKey = QString::fromUtf16(DeploymentDefaults::sharedAPIKey);
    config.authToken = m_token;
    return config;
}

} // namespace vesnara::test

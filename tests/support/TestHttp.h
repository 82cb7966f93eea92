#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QNetworkAccessManager>
#include <QUrl>

#include <utility>

namespace vesnara::test {

/// One HTTP answer as a test looks at it; status 0 when no HTTP answer came.
struct HttpAnswer {
    int status = 0;
    QByteArray body;
    QJsonObject json() const;
};

/// Sends one request and waits for its answer (10 s at most). A non-null `body` is sent as
/// JSON; each header is set as given.
HttpAnswer httpCall(QNetworkAccessManager& network, const QByteArray& method, const QUrl& url,
                    const QByteArray& body = {},
                    const QList<std::pair<QByteArray, QByteArray>>& headers = {});

/// A loopback port that nothing listens on any more.
quint16 closedLoopbackPort();

} // namespace vesnara::test

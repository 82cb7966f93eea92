#include "storage/AppLog.h"

#include "model/Timestamp.h"
#include "storage/UserDirectories.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStringDecoder>

#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <mutex>
#include <thread>

using namespace Qt::StringLiterals;

namespace vesnara {

namespace {

QString secondsText(double unixSeconds) {
    QString text = QString::number(unixSeconds, 'f', QLocale::FloatingPointShortest);
    if (!text.contains(u'.'))
        text += u".0"_s;
    return text;
}

void appendLine(const QString& path, const QString& message) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    const QByteArray line =
        (secondsText(Timestamp::now().unixSeconds()) + u' ' + message + u'\n').toUtf8();
    QFile file(path);
    if (file.open(QIODevice::WriteOnly | QIODevice::Append))
        file.write(line);
}

QString decodeStrict(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    QString text = decoder(bytes);
    return decoder.hasError() ? QString() : text;
}

QString decodeRepairing(const QByteArray& bytes) {
    QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::ConvertInitialBom);
    return decoder(bytes);
}

QString readSnapshot(const QString& path, qint64 maxBytes) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    // Only the tail is read: a snapshot costs the same however long the log has grown.
    const qint64 limit = std::max<qint64>(maxBytes, 0);
    const qint64 size = file.size();
    if (size > limit && !file.seek(size - limit))
        return {};
    const QByteArray bytes = file.read(std::min(size, limit));
    if (size == 0 || (bytes.isEmpty() && limit > 0))
        return {};
    if (size <= limit)
        return decodeStrict(bytes);
    return decodeRepairing(bytes);
}

// The one serial queue behind every AppLog call. It lives until static destruction, which
// drains what is still queued before the thread ends.
class LogQueue {
public:
    static LogQueue& instance() {
        static LogQueue queue;
        return queue;
    }

    void post(std::function<void(QString& path)> job) {
        {
            std::lock_guard lock(m_mutex);
            m_jobs.push_back(std::move(job));
        }
        m_wake.notify_one();
    }

    // The path as of the latest call; the writer thread takes it over in queue order.
    void setPath(const QString& filePath) {
        {
            std::lock_guard lock(m_mutex);
            m_latestPath = filePath;
            m_jobs.push_back([filePath](QString& path) { path = filePath; });
        }
        m_wake.notify_one();
    }

    QString latestPath() {
        std::lock_guard lock(m_mutex);
        return m_latestPath;
    }

    ~LogQueue() {
        {
            std::lock_guard lock(m_mutex);
            m_stopping = true;
        }
        m_wake.notify_one();
        m_thread.join();
    }

private:
    LogQueue()
        : m_latestPath(AppLog::defaultLogPath())
        , m_thread([this, path = m_latestPath] { run(path); }) {}

    void run(QString path) {
        for (;;) {
            std::function<void(QString&)> job;
            {
                std::unique_lock lock(m_mutex);
                m_wake.wait(lock, [this] { return m_stopping || !m_jobs.empty(); });
                if (m_jobs.empty())
                    return;
                job = std::move(m_jobs.front());
                m_jobs.pop_front();
            }
            job(path);
        }
    }

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::function<void(QString&)>> m_jobs;
    bool m_stopping = false;
    QString m_latestPath;
    std::thread m_thread;
};

} // namespace

void AppLog::write(const QString& message) {
    LogQueue::instance().post([message](QString& path) { appendLine(path, message); });
}

QString AppLog::snapshot(qint64 maxBytes) {
    std::promise<QString> result;
    auto future = result.get_future();
    LogQueue::instance().post(
        [&result, maxBytes](QString& path) { result.set_value(readSnapshot(path, maxBytes)); });
    return future.get();
}

QUrl AppLog::currentLogURL() {
    return QUrl::fromLocalFile(LogQueue::instance().latestPath());
}

QString AppLog::defaultLogPath() {
    return UserDirectories::logFile();
}

void AppLog::setLogFilePath(const QString& filePath) {
    LogQueue::instance().setPath(filePath);
}

} // namespace vesnara

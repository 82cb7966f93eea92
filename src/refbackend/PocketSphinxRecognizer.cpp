#include "refbackend/PocketSphinxRecognizer.h"

#include "refbackend/PocketSphinxDecoder.h"

#include <QByteArray>
#include <QJsonObject>
#include <QtEndian>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

/// The decoding side. The thread holds it too, so it outlives the recogniser when the
/// recogniser goes mid-step.
class PocketSphinxRecognizer::Worker {
public:
    using Send = std::function<void(const QJsonObject&)>;

    Worker(Timestamp sessionStart, QString modelDirectory, Send send)
        : m_sessionStart(sessionStart)
        , m_modelDirectory(std::move(modelDirectory))
        , m_send(std::move(send)) {}

    void post(std::optional<QByteArray> pcm) {
        {
            const std::lock_guard lock(m_mutex);
            m_queue.push_back(std::move(pcm));
        }
        m_wake.notify_one();
    }

    void quit() {
        {
            const std::lock_guard lock(m_mutex);
            m_quit = true;
            m_queue.clear();
        }
        m_wake.notify_one();
    }

    void run() {
        for (;;) {
            std::optional<QByteArray> pcm;
            {
                std::unique_lock lock(m_mutex);
                m_wake.wait(lock, [this] { return m_quit || !m_queue.empty(); });
                if (m_quit)
                    return;
                pcm = std::move(m_queue.front());
                m_queue.pop_front();
            }
            if (!m_decoder && !m_failed) {
                QString error;
                m_decoder = PocketSphinxDecoder::create(m_modelDirectory, &error);
                m_failed = !m_decoder;
                if (m_failed)
                    send(QJsonObject{
                        {u"type"_s, u"error"_s},
                        {u"message"_s, u"Puheentunnistin ei käynnistynyt: "_s + error}});
            }
            if (!m_decoder)
                continue;
            if (pcm) {
                decode(*pcm);
            } else {
                m_pendingByte = -1;
                finishUtterance();
            }
        }
    }

private:
    void decode(const QByteArray& pcm) {
        std::vector<qint16> samples;
        samples.reserve(size_t(pcm.size() / 2 + 1));
        qsizetype i = 0;
        if (m_pendingByte >= 0) {
            const auto high = quint16(quint8(pcm[0])) << 8;
            samples.push_back(qint16(quint16(high | quint16(m_pendingByte))));
            m_pendingByte = -1;
            i = 1;
        }
        for (; i + 1 < pcm.size(); i += 2)
            samples.push_back(qFromLittleEndian<qint16>(pcm.constData() + i));
        if (i < pcm.size())
            m_pendingByte = quint8(pcm[i]);

        const qint64 chunkStart = m_samples;
        m_samples += qint64(samples.size());
        if (!m_decoder->process(samples)) {
            // Once is enough: the rest of the session's audio is dropped.
            m_decoder.reset();
            m_failed = true;
            send(QJsonObject{{u"type"_s, u"error"_s},
                             {u"message"_s, u"Puheentunnistin ei pystynyt käsittelemään ääntä"_s}});
            return;
        }
        const bool speech = m_decoder->inSpeech();
        if (speech && !m_inUtterance) {
            m_inUtterance = true;
            m_utteranceStart = chunkStart;
            m_lastPartialAt = -1;
            m_lastPartial.clear();
        } else if (!speech && m_inUtterance) {
            finishUtterance();
            return;
        }
        if (!m_inUtterance)
            return;
        const qint64 interval =
            qint64(kPartialIntervalMs) * PocketSphinxDecoder::kSampleRate / 1000;
        if (m_lastPartialAt >= 0 && m_samples - m_lastPartialAt < interval)
            return;
        const QString text = m_decoder->hypothesis();
        if (text.isEmpty() || text == m_lastPartial)
            return;
        m_lastPartial = text;
        m_lastPartialAt = m_samples;
        send(QJsonObject{{u"type"_s, u"partial"_s}, {u"text"_s, text}});
    }

    void finishUtterance() {
        const QString text = m_decoder->finishUtterance();
        // Words the detector never called speech (a stop mid-word) are dated at the stop.
        const qint64 start = m_inUtterance ? m_utteranceStart : m_samples;
        m_inUtterance = false;
        if (text.isEmpty())
            return;
        const double offsetSeconds = double(start) / PocketSphinxDecoder::kSampleRate;
        send(QJsonObject{{u"type"_s, u"final"_s},
                         {u"text"_s, text},
                         {u"ts"_s, m_sessionStart.addingSeconds(offsetSeconds).toIso8601()}});
    }

    // Under the lock, so that nothing is sent once `quit` has returned.
    void send(const QJsonObject& event) {
        const std::lock_guard lock(m_mutex);
        if (!m_quit)
            m_send(event);
    }

    const Timestamp m_sessionStart;
    const QString m_modelDirectory;
    const Send m_send;

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::deque<std::optional<QByteArray>> m_queue; // audio, or nothing for a stop
    bool m_quit = false;

    // The worker thread's own.
    std::unique_ptr<PocketSphinxDecoder> m_decoder;
    bool m_failed = false; // no decoder, for good
    int m_pendingByte = -1;
    qint64 m_samples = 0;
    bool m_inUtterance = false;
    qint64 m_utteranceStart = 0;
    qint64 m_lastPartialAt = -1;
    QString m_lastPartial;
};

PocketSphinxRecognizer::PocketSphinxRecognizer(Timestamp sessionStart, QString modelDirectory)
    : m_ownerSide(std::make_unique<QObject>()) {
    m_worker = std::make_shared<Worker>(
        sessionStart, std::move(modelDirectory),
        [this, ownerSide = m_ownerSide.get()](const QJsonObject& event) {
            QMetaObject::invokeMethod(
                ownerSide, [this, event] { emitEvent(event); }, Qt::QueuedConnection);
        });
    std::thread([worker = m_worker] { worker->run(); }).detach();
}

PocketSphinxRecognizer::~PocketSphinxRecognizer() {
    m_worker->quit();
}

void PocketSphinxRecognizer::start(const QString& /*language*/, const QString& /*sttModel*/) {
    emitEvent(QJsonObject{{u"type"_s, u"status"_s}, {u"state"_s, u"listening"_s}});
}

void PocketSphinxRecognizer::audio(QByteArrayView pcm) {
    if (!pcm.isEmpty())
        m_worker->post(pcm.toByteArray());
}

void PocketSphinxRecognizer::stop() {
    m_worker->post(std::nullopt);
}

} // namespace vesnara::refbackend

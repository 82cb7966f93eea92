#pragma once

#include <QByteArray>
#include <QList>

#include <functional>
#include <mutex>
#include <thread>

/// Collects frames handed over on any thread, and where they were handed over.
class FrameCollector {
public:
    std::function<void(QByteArray)> sink() {
        return [this](QByteArray frame) {
            std::lock_guard lock(m_mutex);
            m_frames.append(std::move(frame));
            m_threads.append(std::this_thread::get_id());
        };
    }
    QList<QByteArray> frames() const {
        std::lock_guard lock(m_mutex);
        return m_frames;
    }
    QList<std::thread::id> threads() const {
        std::lock_guard lock(m_mutex);
        return m_threads;
    }
    QList<int> sizes() const {
        QList<int> sizes;
        for (const auto& frame : frames())
            sizes.append(static_cast<int>(frame.size()));
        return sizes;
    }

private:
    mutable std::mutex m_mutex;
    QList<QByteArray> m_frames;
    QList<std::thread::id> m_threads;
};

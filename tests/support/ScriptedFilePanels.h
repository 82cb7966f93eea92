#pragma once

#include "async/CancellationToken.h"
#include "platform/FilePanels.h"

#include <QDir>
#include <QStringList>

#include <deque>

namespace vesnara::test {

/// File panels whose answers the test scripts. Each answer comes on a later turn of the event
/// loop, as a real panel's would.
class ScriptedFilePanels final : public FilePanels {
public:
    /// The next answers; nothing is a cancel. When none is scripted, the proposed name in
    /// `saveDirectory` is chosen, or, without one, the panel is cancelled.
    std::deque<std::optional<QString>> answers;
    std::optional<QString> saveDirectory;
    QStringList proposedNames;
    QStringList filters;
    /// Panels answered so far; the asking command has resumed by then.
    int answered = 0;

    QCoro::Task<std::optional<QString>> chooseSaveFile(QString proposedName,
                                                       QString filter) override {
        proposedNames << proposedName;
        filters << filter;
        std::optional<QString> answer;
        if (!answers.empty()) {
            answer = answers.front();
            answers.pop_front();
        } else if (saveDirectory) {
            answer = QDir(*saveDirectory).filePath(proposedName);
        }
        co_await sleepFor(std::chrono::milliseconds(0));
        ++answered;
        co_return answer;
    }
};

} // namespace vesnara::test

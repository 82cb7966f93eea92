#pragma once

#include <QCoroTask>
#include <QString>

#include <optional>

namespace vesnara {

/// The desktop's file panels as the core needs them: where to save a file. A panel never blocks
/// the event loop: the command formats what it saves before it asks, and looks up again what it
/// touches once the answer is in. Implemented in QML by the application; tests script their own.
/// Used on the main thread only.
class FilePanels {
public:
    virtual ~FilePanels() = default;
    /// Asks where to save a file, proposing `proposedName`; `filter` names the kind of file in
    /// the panel's own form ("Zip-arkisto (*.zip)"). The chosen path, or nothing when cancelled.
    virtual QCoro::Task<std::optional<QString>> chooseSaveFile(QString proposedName,
                                                               QString filter) = 0;
};

} // namespace vesnara

#include "engine/LocalPlaces.h"

#include <QDir>
#include <QStandardPaths>

namespace vesnara {

LocalPlaces LocalPlaces::resolve(std::optional<QString> downloads,
                                 std::optional<QString> temporary) {
    LocalPlaces places;
    places.temporaryDirectory = temporary.value_or(QDir::tempPath());
    if (!downloads)
        downloads = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    places.downloadsDirectory = downloads->isEmpty() ? places.temporaryDirectory : *downloads;
    return places;
}

} // namespace vesnara

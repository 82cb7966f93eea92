#include "engine/rules/RemoteSessionStop.h"

#include "text/UiText.h"

using namespace Qt::StringLiterals;

namespace vesnara {

QString remoteStopStatusText(const QString& reason) {
    return reason.contains(u"resume"_s) ? UiText::statusSessionClosedDuringPause
                                        : UiText::statusConnectionLost;
}

} // namespace vesnara

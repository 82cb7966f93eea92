#include "audio/PcmLevel.h"

#include <QtEndian>

#include <cstdlib>

namespace vesnara {

double estimatePCM16Level(QByteArrayView frame) {
    const qsizetype count = frame.size() / 2;
    if (count == 0)
        return 0.0;
    const char* data = frame.data();
    double sum = 0.0;
    for (qsizetype i = 0; i < count; ++i)
        sum += std::abs(static_cast<int>(qFromLittleEndian<qint16>(data + 2 * i))) / 32768.0;
    return sum / static_cast<double>(count);
}

} // namespace vesnara

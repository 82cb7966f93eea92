#include "refbackend/WavWriter.h"

#include <QtEndian>

#include <algorithm>
#include <cstring>
#include <limits>

namespace vesnara::refbackend {

namespace {

constexpr qint64 kHeaderBytes = 44;
constexpr int kBitsPerSample = 16;
constexpr quint16 kFormatPcm = 1;
// The RIFF size field counts the whole file less 8 bytes and must fit 32 bits.
constexpr qint64 kMaxDataBytes = qint64(std::numeric_limits<quint32>::max()) - (kHeaderBytes - 8);

void putU32(char* at, quint32 value) {
    qToLittleEndian(value, at);
}
void putU16(char* at, quint16 value) {
    qToLittleEndian(value, at);
}
quint32 u32(const char* at) {
    return qFromLittleEndian<quint32>(at);
}
quint16 u16(const char* at) {
    return qFromLittleEndian<quint16>(at);
}

QByteArray canonicalHeader(int sampleRate, int channels, int bitsPerSample, quint32 dataBytes) {
    QByteArray header(kHeaderBytes, '\0');
    char* h = header.data();
    const int blockAlign = channels * bitsPerSample / 8;
    std::memcpy(h, "RIFF", 4);
    putU32(h + 4, dataBytes + quint32(kHeaderBytes - 8));
    std::memcpy(h + 8, "WAVEfmt ", 8);
    putU32(h + 16, 16);
    putU16(h + 20, kFormatPcm);
    putU16(h + 22, quint16(channels));
    putU32(h + 24, quint32(sampleRate));
    putU32(h + 28, quint32(sampleRate) * quint32(blockAlign));
    putU16(h + 32, quint16(blockAlign));
    putU16(h + 34, quint16(bitsPerSample));
    std::memcpy(h + 36, "data", 4);
    putU32(h + 40, dataBytes);
    return header;
}

/// The format fields of a canonical header, or nothing. Sizes are checked by the callers,
/// which differ in how strict they are about them.
std::optional<WavInfo> parseFormat(const QByteArray& header) {
    if (header.size() < kHeaderBytes)
        return std::nullopt;
    const char* h = header.constData();
    if (std::memcmp(h, "RIFF", 4) != 0 || std::memcmp(h + 8, "WAVEfmt ", 8) != 0 ||
        std::memcmp(h + 36, "data", 4) != 0)
        return std::nullopt;
    if (u32(h + 16) != 16 || u16(h + 20) != kFormatPcm)
        return std::nullopt;
    const int channels = u16(h + 22);
    const quint32 sampleRate = u32(h + 24);
    const int bits = u16(h + 34);
    if (channels == 0 || sampleRate == 0 || sampleRate > quint32(std::numeric_limits<int>::max()))
        return std::nullopt;
    if (bits != 8 && bits != 16 && bits != 24 && bits != 32)
        return std::nullopt;
    const quint32 blockAlign = quint32(channels) * quint32(bits / 8);
    if (u16(h + 32) != blockAlign || u32(h + 28) != quint64(sampleRate) * blockAlign)
        return std::nullopt;
    WavInfo info;
    info.sampleRate = int(sampleRate);
    info.channels = channels;
    info.bitsPerSample = bits;
    return info;
}

} // namespace

WavWriter::WavWriter(QString path, int sampleRate, int channels)
    : m_path(std::move(path))
    , m_sampleRate(sampleRate)
    , m_channels(channels) {}

bool WavWriter::open() {
    m_file.reset();
    m_dataBytes = 0;
    if (m_sampleRate <= 0 || m_channels <= 0 || m_channels > 0xFFFF / 2)
        return false;

    auto file = std::make_unique<QFile>(m_path);
    if (!file->open(QIODevice::ReadWrite))
        return false;
    const qint64 frameBytes = qint64(m_channels) * (kBitsPerSample / 8);

    if (file->size() == 0) {
        if (file->write(canonicalHeader(m_sampleRate, m_channels, kBitsPerSample, 0)) !=
                kHeaderBytes ||
            !file->flush())
            return false;
        m_file = std::move(file);
        return true;
    }

    const auto format = parseFormat(file->read(kHeaderBytes));
    if (!format || format->sampleRate != m_sampleRate || format->channels != m_channels ||
        format->bitsPerSample != kBitsPerSample)
        return false;
    // Keep what an interrupted append left after the stated data, up to a whole frame.
    const qint64 available = file->size() - kHeaderBytes;
    const qint64 kept = std::min(available - available % frameBytes, kMaxDataBytes);
    if (kept + kHeaderBytes != file->size() && !file->resize(kept + kHeaderBytes))
        return false;
    m_file = std::move(file);
    m_dataBytes = kept;
    if (!writeSizes()) {
        m_file.reset();
        m_dataBytes = 0;
        return false;
    }
    return true;
}

bool WavWriter::append(QByteArrayView pcm) {
    if (!m_file)
        return false;
    const qint64 frameBytes = qint64(m_channels) * (kBitsPerSample / 8);
    if (pcm.size() % frameBytes != 0 || m_dataBytes + pcm.size() > kMaxDataBytes)
        return false;
    if (pcm.isEmpty())
        return true;
    if (!m_file->seek(kHeaderBytes + m_dataBytes) ||
        m_file->write(pcm.data(), pcm.size()) != pcm.size())
        return false;
    m_dataBytes += pcm.size();
    return writeSizes();
}

bool WavWriter::writeSizes() {
    char riffSize[4];
    char dataSize[4];
    putU32(riffSize, quint32(m_dataBytes + kHeaderBytes - 8));
    putU32(dataSize, quint32(m_dataBytes));
    return m_file->seek(4) && m_file->write(riffSize, 4) == 4 && m_file->seek(40) &&
           m_file->write(dataSize, 4) == 4 && m_file->flush();
}

qint64 WavWriter::dataBytes() const {
    return m_dataBytes;
}

const QString& WavWriter::path() const {
    return m_path;
}

std::optional<WavInfo> WavWriter::read(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const qint64 size = file.size();
    if (size < kHeaderBytes || size - 8 > qint64(std::numeric_limits<quint32>::max()))
        return std::nullopt;
    const QByteArray header = file.read(kHeaderBytes);
    auto info = parseFormat(header);
    if (!info)
        return std::nullopt;
    const qint64 dataBytes = u32(header.constData() + 40);
    const qint64 blockAlign = qint64(info->channels) * info->bitsPerSample / 8;
    if (u32(header.constData() + 4) != size - 8 || dataBytes != size - kHeaderBytes ||
        dataBytes % blockAlign != 0)
        return std::nullopt;
    info->pcm = file.read(dataBytes);
    if (info->pcm.size() != dataBytes)
        return std::nullopt;
    return info;
}

} // namespace vesnara::refbackend

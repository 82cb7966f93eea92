#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QFile>
#include <QString>

#include <memory>
#include <optional>

namespace vesnara::refbackend {

/// What a WAV file's header says, and the PCM after it.
struct WavInfo {
    int sampleRate = 0;
    int channels = 0;
    int bitsPerSample = 0;
    QByteArray pcm;
};

/// Appends 16-bit PCM to a canonical 44-byte-header WAV file, keeping the header's sizes right
/// after every append so the file is valid whenever it is read.
///
/// The file stays open between appends; each append is flushed before it returns. One writer
/// per file: two writers appending to the same path would overwrite each other's sizes.
class WavWriter {
public:
    explicit WavWriter(QString path, int sampleRate = 16000, int channels = 1);

    /// Creates the file with an empty data chunk, or continues an existing one of ours.
    ///
    /// An existing file must have our canonical header with this writer's rate and channels
    /// (16-bit PCM); anything else is left untouched and `open` fails. Bytes after the header's
    /// data size (an append cut short) are kept up to the last whole frame and the sizes are
    /// rewritten to cover them. An empty file is treated as new. Calling `open` again reopens.
    bool open();
    /// Appends the bytes (whole frames: an even number for mono, a multiple of four for stereo)
    /// and rewrites the size fields. Fails, writing nothing, when the writer is not open, the
    /// length is not whole frames, or the file would outgrow the 4 GiB a RIFF size can state.
    bool append(QByteArrayView pcm);
    /// PCM bytes in the file's data chunk.
    qint64 dataBytes() const;
    const QString& path() const;

    /// Reads a canonical PCM WAV file; nothing for anything else.
    ///
    /// Canonical means exactly: "RIFF" with a size of the file less 8, "WAVE", a 16-byte "fmt "
    /// chunk of integer PCM (8, 16, 24 or 32 bits, byte rate and block align consistent), then
    /// "data" with a size of the rest of the file in whole frames. Missing, truncated, extended
    /// or otherwise inconsistent files give nothing.
    static std::optional<WavInfo> read(const QString& path);

private:
    bool writeSizes();

    QString m_path;
    int m_sampleRate;
    int m_channels;
    qint64 m_dataBytes = 0;
    std::unique_ptr<QFile> m_file;
};

} // namespace vesnara::refbackend

#include "support/SpeechClips.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QtEndian>

#include <algorithm>
#include <vector>

using namespace Qt::StringLiterals;

namespace vesnara::test {

double WordErrors::ratePercent() const {
    if (referenceWords == 0)
        return errors == 0 ? 0.0 : 100.0;
    return 100.0 * errors / referenceWords;
}

WordErrors& WordErrors::operator+=(const WordErrors& other) {
    errors += other.errors;
    referenceWords += other.referenceWords;
    return *this;
}

QStringList comparableWords(const QString& text) {
    static const QRegularExpression separators(u"[^\\w']+"_s);
    QStringList words = text.toLower().split(separators, Qt::SkipEmptyParts);
    for (QString& word : words) {
        while (word.startsWith(u'\''))
            word.remove(0, 1);
        while (word.endsWith(u'\''))
            word.chop(1);
    }
    words.removeAll(QString());
    return words;
}

WordErrors wordErrors(const QString& reference, const QString& hypothesis) {
    const QStringList ref = comparableWords(reference);
    const QStringList hyp = comparableWords(hypothesis);
    // Edit distance over words, one row at a time.
    std::vector<int> previous(size_t(hyp.size()) + 1);
    std::vector<int> current(previous.size());
    for (size_t j = 0; j < previous.size(); ++j)
        previous[j] = int(j);
    for (qsizetype i = 1; i <= ref.size(); ++i) {
        current[0] = int(i);
        for (qsizetype j = 1; j <= hyp.size(); ++j) {
            const int substitution = previous[size_t(j - 1)] + (ref[i - 1] == hyp[j - 1] ? 0 : 1);
            current[size_t(j)] =
                std::min({substitution, previous[size_t(j)] + 1, current[size_t(j - 1)] + 1});
        }
        std::swap(previous, current);
    }
    return WordErrors{previous.back(), int(ref.size())};
}

QString librivoxDirectory() {
    return u"/usr/share/pocketsphinx/test/data/librivox"_s;
}

QList<SpeechClip> speechClips(const QString& directory, QString* error) {
    const QDir dir(directory);
    QFile file(dir.filePath(u"transcription"_s));
    if (!file.open(QIODevice::ReadOnly)) {
        *error = u"no reference transcripts at "_s + file.fileName();
        return {};
    }
    // "<s> the words </s> (clip-name)"
    static const QRegularExpression line(u"^\\s*(?:<s>)?(.*?)(?:</s>)?\\s*\\(([^()]+)\\)\\s*$"_s);
    QList<SpeechClip> clips;
    for (const QString& text : QString::fromUtf8(file.readAll()).split(u'\n')) {
        const auto match = line.match(text);
        if (!match.hasMatch())
            continue;
        const QString name = match.captured(2).trimmed();
        const QString wav = dir.filePath(name + u".wav"_s);
        if (QFile::exists(wav))
            clips.append(SpeechClip{name, wav, match.captured(1).simplified()});
    }
    if (clips.isEmpty())
        *error = u"no clips with a WAV file listed in "_s + file.fileName();
    return clips;
}

QByteArray wavPcm16(const QString& path, int* sampleRate) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    if (bytes.size() < 12 || !bytes.startsWith("RIFF") || bytes.mid(8, 4) != "WAVE")
        return {};
    bool mono16 = false;
    qsizetype at = 12;
    while (at + 8 <= bytes.size()) {
        const QByteArray id = bytes.mid(at, 4);
        const auto size = qsizetype(qFromLittleEndian<quint32>(bytes.constData() + at + 4));
        const qsizetype body = at + 8;
        if (size < 0 || body + size > bytes.size())
            return {};
        if (id == "fmt " && size >= 16) {
            const auto channels = qFromLittleEndian<quint16>(bytes.constData() + body + 2);
            const auto bits = qFromLittleEndian<quint16>(bytes.constData() + body + 14);
            mono16 = qFromLittleEndian<quint16>(bytes.constData() + body) == 1 && channels == 1 &&
                     bits == 16;
            if (sampleRate)
                *sampleRate = int(qFromLittleEndian<quint32>(bytes.constData() + body + 4));
        } else if (id == "data") {
            return mono16 ? bytes.mid(body, size) : QByteArray();
        }
        at = body + size + (size & 1);
    }
    return {};
}

} // namespace vesnara::test

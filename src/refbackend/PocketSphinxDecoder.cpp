#include "refbackend/PocketSphinxDecoder.h"

#include <QDir>
#include <QFileInfo>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <pocketsphinx.h>

using namespace Qt::StringLiterals;

namespace vesnara::refbackend {

namespace {

const QString kAcousticModel = u"en-us"_s;
const QString kLanguageModel = u"en-us.lm.bin"_s;
const QString kDictionary = u"cmudict-en-us.dict"_s;

QString hypothesisOf(ps_decoder_t* decoder) {
    int32 score = 0;
    const char* text = ps_get_hyp(decoder, &score);
    return text ? QString::fromUtf8(text).simplified() : QString();
}

} // namespace

QString PocketSphinxDecoder::defaultModelDirectory() {
    return u"/usr/share/pocketsphinx/model/en-us"_s;
}

QString PocketSphinxDecoder::missingModelPath(const QString& modelDirectory) {
    const QDir dir(modelDirectory);
    if (!QFileInfo(modelDirectory).isDir())
        return dir.absolutePath();
    for (const QString& part : {kAcousticModel, kLanguageModel, kDictionary}) {
        if (!QFileInfo::exists(dir.filePath(part)))
            return dir.absoluteFilePath(part);
    }
    if (!QFileInfo::exists(dir.filePath(kAcousticModel + u"/mdef"_s)))
        return dir.absoluteFilePath(kAcousticModel + u"/mdef"_s);
    return {};
}

std::unique_ptr<PocketSphinxDecoder>
PocketSphinxDecoder::create(const QString& modelDirectory, QString* error, const QString& logFile) {
    if (const QString missing = missingModelPath(modelDirectory); !missing.isEmpty()) {
        *error = u"speech model not found: "_s + missing;
        return nullptr;
    }
    const QDir dir(modelDirectory);
    const QByteArray hmm = QFile::encodeName(dir.filePath(kAcousticModel));
    const QByteArray lm = QFile::encodeName(dir.filePath(kLanguageModel));
    const QByteArray dict = QFile::encodeName(dir.filePath(kDictionary));
    // The decoder's own log is verbose and would go to stderr; errors reach us as null results.
    const QByteArray log = logFile.isEmpty() ? QByteArray("/dev/null") : QFile::encodeName(logFile);
    cmd_ln_t* config =
        cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", hmm.constData(), "-lm", lm.constData(),
                    "-dict", dict.constData(), "-logfn", log.constData(), nullptr);
    if (!config) {
        *error = u"the speech decoder rejected its settings for "_s + dir.absolutePath();
        return nullptr;
    }
    ps_decoder_t* decoder = ps_init(config);
    cmd_ln_free_r(config);
    if (!decoder) {
        *error = u"the speech decoder could not load the model in "_s + dir.absolutePath();
        return nullptr;
    }
    if (ps_start_utt(decoder) < 0) {
        ps_free(decoder);
        *error = u"the speech decoder could not start an utterance"_s;
        return nullptr;
    }
    return std::unique_ptr<PocketSphinxDecoder>(new PocketSphinxDecoder(decoder));
}

QString PocketSphinxDecoder::probe(const QString& modelDirectory) {
    if (const QString missing = missingModelPath(modelDirectory); !missing.isEmpty())
        return u"speech model not found: "_s + missing;
    QTemporaryDir logDirectory;
    const QString logFile = logDirectory.filePath(u"decoder.log"_s);
    const pid_t parent = ::getpid();
    const pid_t child = ::fork();
    if (child < 0)
        return u"cannot start a process to load the speech model: "_s +
               QString::fromLocal8Bit(std::strerror(errno));
    if (child == 0) {
        // A probe outliving a backend stopped mid-load would keep the backend's command line alive.
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent)
            ::_exit(1);
        QString error;
        ::_exit(create(modelDirectory, &error, logFile) ? 0 : 1);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return {};
    // The decoder says what it choked on in its log, on a line of its own.
    QString complaint;
    QFile log(logFile);
    if (log.open(QIODevice::ReadOnly)) {
        for (const QByteArray& line : log.readAll().split('\n')) {
            if (line.startsWith("FATAL") || line.startsWith("ERROR"))
                complaint = QString::fromLocal8Bit(line).simplified();
        }
    }
    QString message =
        u"the speech decoder could not load the model in "_s + QDir(modelDirectory).absolutePath();
    return complaint.isEmpty() ? message : message + u" ("_s + complaint + u")"_s;
}

PocketSphinxDecoder::PocketSphinxDecoder(ps_decoder_t* decoder)
    : m_decoder(decoder) {}

PocketSphinxDecoder::~PocketSphinxDecoder() {
    ps_end_utt(m_decoder);
    ps_free(m_decoder);
}

bool PocketSphinxDecoder::process(std::span<const qint16> samples) {
    if (samples.empty())
        return true;
    return ps_process_raw(m_decoder, samples.data(), samples.size(), FALSE, FALSE) >= 0;
}

bool PocketSphinxDecoder::inSpeech() const {
    return ps_get_in_speech(m_decoder) != 0;
}

QString PocketSphinxDecoder::hypothesis() const {
    return hypothesisOf(m_decoder);
}

QString PocketSphinxDecoder::finishUtterance() {
    ps_end_utt(m_decoder);
    const QString text = hypothesisOf(m_decoder);
    ps_start_utt(m_decoder);
    return text;
}

} // namespace vesnara::refbackend

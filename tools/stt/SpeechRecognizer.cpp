// SPDX-License-Identifier: MIT
#include "tools/stt/SpeechRecognizer.h"

#include "tools/stt/PauseSplitter.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>

#include <pocketsphinx.h>
#include <sphinxbase/err.h>

namespace kavrin
{

using namespace Qt::StringLiterals;
namespace
{

// How much the language model counts against the sound. The library's own weights are 6.5, 8.5 and 9.5. On
// read speech, with and without lossy coding, these lower ones make one error in six fewer. Wider beams, more
// Gaussians and other treatments of noise and silence were no better.
constexpr const char *firstPassLanguageWeight = "5";
constexpr const char *secondPassLanguageWeight = "6.5";
constexpr const char *thirdPassLanguageWeight = "7.5";

// How many of the likeliest phones and word ends the first pass keeps every hundredth of a second. That pass
// takes most of the time. The library's own values, 30000 and no limit, take at least a third longer (more on
// a busy machine) and make as many errors. These make more errors: 3000 phones, a narrower beam, no second
// pass, and half as many frames of sound.
constexpr const char *mostPhones = "5000";
constexpr const char *mostWordEnds = "5";

struct ConfigurationDeleter {
    void operator()(cmd_ln_t *configuration) const { cmd_ln_free_r(configuration); }
};

QByteArray modelFile(const QString &folder, const QString &name)
{
    const QString path = folder + u'/' + name;
    if (!QFileInfo::exists(path)) {
        throw std::runtime_error(
            u"The speech model is missing: there is no %1. Install the package pocketsphinx-en-us."_s
                .arg(path)
                .toStdString());
    }
    return QFile::encodeName(path);
}

} // namespace

/// While it lives, only this thread uses the decoder. With a plain mutex, the thread that has just released
/// it could take it again before threads that have waited longer.
class SpeechRecognizer::Turn
{
public:
    explicit Turn(SpeechRecognizer &recognizer) : m_recognizer(recognizer)
    {
        std::unique_lock lock(m_recognizer.m_mutex);
        const std::uint64_t turn = m_recognizer.m_nextTurn++;
        m_recognizer.m_turnEnded.wait(lock, [&] { return m_recognizer.m_currentTurn == turn; });
    }

    ~Turn()
    {
        const std::scoped_lock lock(m_recognizer.m_mutex);
        ++m_recognizer.m_currentTurn;
        m_recognizer.m_turnEnded.notify_all();
    }

    Q_DISABLE_COPY_MOVE(Turn)

private:
    SpeechRecognizer &m_recognizer;
};

void SpeechRecognizer::DecoderDeleter::operator()(ps_decoder_s *decoder) const
{
    ps_free(decoder);
}

SpeechRecognizer::SpeechRecognizer(const QString &modelFolder)
{
    err_set_logfp(nullptr);
    const QByteArray acousticModel = modelFile(modelFolder, u"en-us"_s);
    const QByteArray languageModel = modelFile(modelFolder, u"en-us.lm.bin"_s);
    const QByteArray dictionary = modelFile(modelFolder, u"cmudict-en-us.dict"_s);
    const std::unique_ptr<cmd_ln_t, ConfigurationDeleter> configuration(
        cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", acousticModel.constData(), "-lm",
                    languageModel.constData(), "-dict", dictionary.constData(), "-logfn", "/dev/null", "-lw",
                    firstPassLanguageWeight, "-fwdflatlw", secondPassLanguageWeight, "-bestpathlw",
                    thirdPassLanguageWeight, "-maxhmmpf", mostPhones, "-maxwpf", mostWordEnds, nullptr));
    m_decoder.reset(configuration ? ps_init(configuration.get()) : nullptr);
    if (!m_decoder) {
        throw std::runtime_error(
            u"The speech model in %1 cannot be loaded. Install the package pocketsphinx-en-us again."_s
                .arg(modelFolder)
                .toStdString());
    }
}

SpeechRecognizer::~SpeechRecognizer() = default;

QString SpeechRecognizer::recognize(std::span<const std::int16_t> samples, const std::stop_token &stop)
{
    QStringList texts;
    for (const std::span<const std::int16_t> piece : splitAtPauses(samples)) {
        const Turn turn(*this);
        if (stop.stop_requested()) {
            throw RecognitionStopped();
        }
        texts.append(recognizePiece(piece));
    }
    texts.removeAll(QString());
    return texts.join(u' ');
}

QString SpeechRecognizer::recognizePiece(std::span<const std::int16_t> piece)
{
    ps_decoder_t *decoder = m_decoder.get();
    // A new stream forgets the noise level of the previous recording.
    ps_start_stream(decoder);
    if (ps_start_utt(decoder) < 0) {
        throw std::runtime_error("The speech recogniser could not begin.");
    }
    // Processes the whole piece at once: the mean is then the mean of all of it, which gives the fewest
    // errors.
    constexpr int search = FALSE;
    constexpr int whole = TRUE;
    ps_process_raw(decoder, piece.data(), piece.size(), search, whole);
    ps_end_utt(decoder);
    const char *text = ps_get_hyp(decoder, nullptr);
    return text == nullptr ? QString() : QString::fromUtf8(text).simplified();
}

} // namespace kavrin

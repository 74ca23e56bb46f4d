// SPDX-License-Identifier: MIT
// PocketSphinx with its own settings, as pocketsphinx_batch uses it. For each WAV file (16 kHz, mono) among
// the arguments, it prints the processor time, the time and the text.
#include <QByteArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <pocketsphinx.h>
#include <sphinxbase/err.h>

#include <chrono>
#include <cstdio>
#include <ctime>
#include <span>

using namespace Qt::StringLiterals;

namespace
{

constexpr const char *model = KAVRIN_SPEECH_MODEL;
constexpr long headerOfWav = 44;

ps_decoder_t *load()
{
    err_set_logfp(nullptr);
    const QByteArray folder(model);
    return ps_init(cmd_ln_init(nullptr, ps_args(), TRUE, "-hmm", (folder + "/en-us").constData(), "-lm",
                               (folder + "/en-us.lm.bin").constData(), "-dict",
                               (folder + "/cmudict-en-us.dict").constData(), "-logfn", "/dev/null", nullptr));
}

QString hear(ps_decoder_t *decoder, const char *path)
{
    std::FILE *file = std::fopen(path, "rb");
    if (file == nullptr) {
        qFatal("%s cannot be read.", path);
    }
    std::fseek(file, headerOfWav, SEEK_SET);
    ps_start_stream(decoder);
    ps_decode_raw(decoder, file, -1);
    std::fclose(file);
    return QString::fromUtf8(ps_get_hyp(decoder, nullptr));
}

double processorSeconds()
{
    return static_cast<double>(std::clock()) / CLOCKS_PER_SEC;
}

double seconds()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

QJsonObject heard(ps_decoder_t *decoder, const char *path)
{
    const double processor = processorSeconds();
    const double begun = seconds();
    const QString text = hear(decoder, path);
    return {{u"processor"_s, processorSeconds() - processor},
            {u"seconds"_s, seconds() - begun},
            {u"text"_s, text}};
}

} // namespace

int main(int argc, char **argv)
{
    ps_decoder_t *decoder = load();
    if (decoder == nullptr) {
        std::fputs("speech_peer: the speech model cannot be loaded\n", stderr);
        return 1;
    }
    for (const char *path : std::span(argv, static_cast<std::size_t>(argc)).subspan(1)) {
        std::puts(QJsonDocument(heard(decoder, path)).toJson(QJsonDocument::Compact).constData());
    }
    ps_free(decoder);
}

// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/GivenFile.h"

#include "platform/linux/audio/SendableRecording.h"
#include "platform/linux/audio/SoundCodecs.h"
#include "platform/linux/network/NetworkUrlSession.h"
#include "transcription/Transcriber.h"

#include <QCoreApplication>

#include <optional>

namespace kavrin::ctl
{

using namespace Qt::StringLiterals;

namespace
{

struct Result {
    std::optional<QString> text;
    QString failure;
};

/// Another file, given by mistake, must not leave the machine.
void expectSound(const QByteArray &file)
{
    SoundCodecs::load().check(file);
}

/// Never throws: the wait for a task that throws would not end.
QCoro::Task<Result> textOf(QString path, UrlSession &session)
{
    Result result;
    try {
        const GivenFile file(path);
        const SendableRecording recording(file.path());
        const QCoro::Task<QString> transcription =
            Transcriber::transcribe(recording.path(), session, expectSound);
        result.text = co_await transcription;
    } catch (const Error &error) {
        result.failure = u"%1: %2"_s.arg(error.domain, error.localizedDescription);
    } catch (const std::exception &error) {
        result.failure = QString::fromUtf8(error.what());
    }
    co_return result;
}

} // namespace

void transcribe(QStringList &arguments)
{
    expectNoFlags(arguments);
    expectCount(arguments, 1, 1);
    NetworkUrlSession session;
    const Result result = QCoro::waitFor(textOf(arguments.first(), session));
    if (!result.text) {
        throw Refusal{result.failure};
    }
    print(*result.text);
}

} // namespace kavrin::ctl

// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Await.h"
#include "tools/kavrinctl/Console.h"
#include "tools/kavrinctl/GivenFile.h"

#include "platform/linux/audio/SendableRecording.h"
#include "platform/linux/audio/SoundCodecs.h"
#include "platform/linux/network/NetworkUrlSession.h"
#include "store/MaskedLine.h"
#include "transcription/Transcriber.h"

namespace kavrin::ctl
{

using namespace Qt::StringLiterals;

namespace
{

/// Another file, given by mistake, must not leave the machine.
void expectSound(const QByteArray &file)
{
    SoundCodecs::load().check(file);
}

} // namespace

void transcribe(QStringList &arguments)
{
    expectNoFlags(arguments);
    expectArguments(arguments, {u"FILE"_s});
    NetworkUrlSession session;
    try {
        const GivenFile file(arguments.first());
        const SendableRecording recording(file.path());
        print(await(Transcriber::transcribe(recording.path(), session, expectSound)));
    } catch (const Error &error) {
        throw Refusal{u"%1: %2"_s.arg(error.domain, withoutControls(error.localizedDescription))};
    } catch (const std::exception &error) {
        throw Refusal{QString::fromUtf8(error.what())};
    }
}

} // namespace kavrin::ctl

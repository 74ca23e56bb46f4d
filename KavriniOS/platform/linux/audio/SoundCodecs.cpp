// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SoundCodecs.h"

#include <QFile>
#include <QFileInfo>
#include <QThreadPool>

#include <dlfcn.h>

namespace kavrin
{

namespace
{

/// The same beside a build as below an install prefix.
QString modulePath()
{
    const QString executable = QFile::symLinkTarget(QStringLiteral("/proc/self/exe"));
    return QFileInfo(executable).path() + QStringLiteral("/../lib/kavrin/kavrin_libav.so");
}

} // namespace

const SoundCodecs &SoundCodecs::load()
{
    static const SoundCodecs &codecs = loadFrom(modulePath());
    return codecs;
}

void SoundCodecs::loadAhead()
{
    QThreadPool::globalInstance()->start([] {
        try {
            load();
        } catch (const Error &) { // NOLINT(bugprone-empty-catch): whoever needs the codecs is told
        }
    });
}

const SoundCodecs &SoundCodecs::loadFrom(const QString &module)
{
    // All symbols now, in this thread, rather than each at its first use, while somebody begins to speak.
    void *handle = dlopen(QFile::encodeName(module).constData(), RTLD_NOW | RTLD_LOCAL | RTLD_NODELETE);
    void *entry = handle ? dlsym(handle, "kavrin_sound_codecs") : nullptr;
    if (!entry) {
        throw Error(QStringLiteral("audio"), 4,
                    QStringLiteral("Sound can be neither recorded nor played (%1). Check that Kavrin, "
                                   "libavcodec and libavformat are installed whole.")
                        .arg(QString::fromLocal8Bit(dlerror())));
    }
    return *reinterpret_cast<SoundCodecsEntry *>(entry)();
}

} // namespace kavrin

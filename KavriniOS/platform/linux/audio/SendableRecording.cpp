// SPDX-License-Identifier: MIT
#include "platform/linux/audio/SendableRecording.h"

#include "platform/Error.h"
#include "platform/Logging.h"
#include "platform/linux/audio/SoundCodecs.h"

#include <QFileInfo>
#include <QtEndian>

#include <optional>
#include <sys/mman.h>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// The size and the type of a box of an MPEG-4 file (ISO/IEC 14496-12, 4.2), and its contents after that.
constexpr qint64 headerSize = 8;

/// Whether the file says of itself that it has fragments, with the box "mvex" in the box "moov".
bool isFragmented(QFile &file)
{
    for (qint64 begin = 0; file.seek(begin);) {
        const QByteArray header = file.read(headerSize);
        const QByteArray type = header.mid(4);
        const bool isKnown = header.size() == headerSize && (begin > 0 || type == "ftyp");
        const qint64 size = isKnown ? qFromBigEndian<quint32>(header.constData()) : 0;
        if (size < headerSize || type == "mvex") {
            return type == "mvex";
        }
        begin += type == "moov" ? headerSize : size;
    }
    return false;
}

/// The contents of a fragmented file; empty if the file is another one or cannot be read.
QByteArray fragmentedFile(const QString &path)
{
    QFile file(path);
    // A pipe can be read only once.
    const bool isFile = QFileInfo(path).isFile() && file.open(QFile::ReadOnly);
    return isFile && isFragmented(file) && file.seek(0) ? file.readAll() : QByteArray();
}

/// Empty if there is no sound in the file; none if it cannot be read.
std::optional<QByteArray> ordinaryCopy(const QByteArray &fragmented)
{
    try {
        return SoundCodecs::load().ordinaryMpeg4(fragmented);
    } catch (const std::exception &error) {
        qCWarning(Logging::sound) << "The recording is sent in fragments:" << error.what();
        return std::nullopt;
    }
}

} // namespace

SendableRecording::SendableRecording(const QString &path) : m_path(path)
{
    const QByteArray fragmented = fragmentedFile(path);
    const std::optional<QByteArray> copy = fragmented.isEmpty() ? std::nullopt : ordinaryCopy(fragmented);
    if (copy && copy->isEmpty()) {
        throw Error(u"audio"_s, 5, u"There is no sound in the recording."_s);
    }
    if (copy
        && m_copy.open(::memfd_create("recording", MFD_CLOEXEC), QFile::ReadWrite | QFile::Unbuffered,
                       QFile::AutoCloseHandle)
        && m_copy.write(*copy) == copy->size()) {
        m_path = u"/proc/self/fd/%1"_s.arg(m_copy.handle());
    }
}

} // namespace kavrin

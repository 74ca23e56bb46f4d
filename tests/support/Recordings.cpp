// SPDX-License-Identifier: MIT
#include "support/Recordings.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <stdexcept>

namespace kavrin::test
{
namespace
{

const QString folder = QStringLiteral("/usr/share/pocketsphinx/test/data/");

} // namespace

std::vector<Recording> proseRecordings()
{
    // A line reads: <s> the words spoken </s> (name)
    static const QRegularExpression line(QStringLiteral("<s> (.*) </s> \\((.*)\\)"));
    const QString prose = folder + QStringLiteral("librivox/");
    const QString text = QString::fromUtf8(readFile(prose + QStringLiteral("transcription")));
    std::vector<Recording> found;
    for (auto match = line.globalMatch(text); match.hasNext();) {
        const QRegularExpressionMatch entry = match.next();
        found.push_back({prose + entry.captured(2) + QStringLiteral(".wav"), entry.captured(1)});
    }
    return found;
}

Recording proseRecording()
{
    return proseRecordings().at(0);
}

Recording shortRecording()
{
    return {folder + QStringLiteral("cards/001.wav"), QStringLiteral("ten of clubs")};
}

Recording otherShortRecording()
{
    return {folder + QStringLiteral("cards/005.wav"),
            QStringLiteral("eight of spades four of clubs seven of hearts")};
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    if (!file.open(QFile::ReadOnly)) {
        throw std::runtime_error("cannot read " + path.toStdString());
    }
    return file.readAll();
}

QByteArray ffmpeg(const QStringList &arguments, const QString &suffix)
{
    const QTemporaryDir temporary;
    const QString output = temporary.filePath(QStringLiteral("output.") + suffix);
    QProcess process;
    process.start(QStringLiteral("ffmpeg"),
                  QStringList{QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-nostdin")}
                      + arguments + QStringList{output});
    process.waitForFinished(-1);
    if (process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        throw std::runtime_error("ffmpeg: " + process.readAllStandardError().toStdString());
    }
    return readFile(output);
}

} // namespace kavrin::test

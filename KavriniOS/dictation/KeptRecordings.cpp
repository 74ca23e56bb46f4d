// SPDX-License-Identifier: MIT
#include "dictation/KeptRecordings.h"

#include "platform/FileManager.h"

#include <QDir>
#include <QFile>
#include <QList>

#include <algorithm>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString prefix = u"failed-"_s;
const QString suffix = u".m4a"_s;

QString nameOf(int number)
{
    return prefix + QString::number(number) + suffix;
}

/// The numbers of those that are kept, the oldest first.
QList<int> numbersIn(const QDir &folder)
{
    QList<int> numbers;
    const QStringList names = folder.entryList({prefix + u'*' + suffix}, QDir::Files);
    for (const QString &name : names) {
        const int number = QStringView(name).sliced(prefix.size()).chopped(suffix.size()).toInt();
        if (name == nameOf(number)) {
            numbers.append(number);
        }
    }
    std::ranges::sort(numbers);
    return numbers;
}

bool write(const QString &path, const QByteArray &contents)
{
    QFile file(path);
    const bool isWritten = file.open(QFile::WriteOnly | QFile::NewOnly, QFile::ReadOwner | QFile::WriteOwner)
        && file.write(contents) == contents.size() && file.flush();
    if (!isWritten) {
        file.remove();
    }
    return isWritten;
}

} // namespace

bool KeptRecordings::keep(const QByteArray &recording)
{
    const std::optional<QString> path = FileManager::sessionDirectory();
    if (!path || recording.isEmpty()) {
        return false;
    }
    QDir folder(*path);
    QList<int> numbers = numbersIn(folder);
    const int number = numbers.isEmpty() ? 1 : numbers.last() + 1;
    if (!write(folder.filePath(nameOf(number)), recording)) {
        return false;
    }
    for (numbers.append(number); numbers.size() > most; numbers.removeFirst()) {
        folder.remove(nameOf(numbers.first()));
    }
    return true;
}

std::optional<QString> KeptRecordings::latest()
{
    const std::optional<QString> path = FileManager::sessionDirectory();
    const QList<int> numbers = path ? numbersIn(QDir(*path)) : QList<int>();
    return numbers.isEmpty() ? std::nullopt : std::optional(QDir(*path).filePath(nameOf(numbers.last())));
}

void KeptRecordings::remove(const QString &path)
{
    const std::optional<QString> folder = FileManager::sessionDirectory();
    if (folder && path.startsWith(*folder + u'/' + prefix)) {
        QFile::remove(path);
    }
}

} // namespace kavrin

// SPDX-License-Identifier: MIT
#include "IncludeTable.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>

#include <stdexcept>
#include <utility>

namespace kavrin::test
{

namespace
{

using namespace Qt::StringLiterals;

/// The cells of a table's row, without the marks of code; none where `line` is no row.
QStringList cells(const QString &line)
{
    if (!line.startsWith(u'|')) {
        return {};
    }
    QStringList cells = line.split(u'|').mid(1);
    cells.replaceInStrings(u"`"_s, QString());
    for (QString &cell : cells) {
        cell = cell.trimmed();
    }
    return cells;
}

QSet<QString> folderSet(const QString &cell)
{
    const QStringList names = cell == u"nothing" ? QStringList() : cell.split(u", "_s);
    return {names.begin(), names.end()};
}

/// Modules of QML begin with a capital where their folders do not.
bool isWithin(const QString &path, const QString &folder)
{
    return path.startsWith(folder + u'/', Qt::CaseInsensitive);
}

/// The source files below `folder`, as paths from `base`.
QStringList sourceFiles(const QDir &base, const QString &folder)
{
    QStringList paths;
    QDirIterator files(base.filePath(folder), {u"*.h"_s, u"*.cpp"_s, u"*.qml"_s}, QDir::Files,
                       QDirIterator::Subdirectories);
    while (files.hasNext()) {
        paths.append(base.relativeFilePath(files.next()));
    }
    return paths;
}

QString read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        throw std::runtime_error(path.toStdString() + ": " + file.errorString().toStdString());
    }
    return QString::fromUtf8(file.readAll());
}

/// The path that a line of C++ includes or a line of QML imports: "Theme/" for the module Kavrin.Theme, which
/// is the folder theme. Empty where the line does neither.
QString includedPath(const QString &line)
{
    static const QRegularExpression include(uR"regex(^\s*#\s*include\s*"([^"]*)")regex"_s);
    static const QRegularExpression import(uR"regex(^\s*import\s+Kavrin\.([\w.]+))regex"_s);
    const QString module = import.match(line).captured(1).replace(u'.', u'/');
    return module.isEmpty() ? include.match(line).captured(1) : module + u'/';
}

/// The system's header that a line includes: <unistd.h>, <sys/socket.h>. Libraries, and C++, name theirs
/// otherwise.
QString systemHeader(const QString &line)
{
    static const QRegularExpression include(
        uR"regex(^\s*#\s*include\s*(<(?:(?:arpa|asm|linux|net|netinet|sys)/)?\w+\.h>))regex"_s);
    return include.match(line).captured(1);
}

} // namespace

IncludeTable IncludeTable::parse(const QString &markdown)
{
    IncludeTable table;
    bool inTable = false;
    for (const QString &line : markdown.split(u'\n')) {
        const QStringList row = cells(line);
        if (!inTable) {
            inTable = row.value(0) == u"Folder" && row.value(1) == u"May include";
        } else if (row.size() < 2) {
            break;
        } else if (!row.first().startsWith(u"---")) {
            table.m_rows[row.first()] = folderSet(row.at(1));
        }
    }
    return table;
}

QStringList IncludeTable::folders() const
{
    QStringList folders;
    for (const auto &[folder, allowed] : m_rows) {
        folders.append(folder);
    }
    return folders;
}

QString IncludeTable::folderOf(const QString &path) const
{
    QString found;
    for (const auto &[folder, allowed] : m_rows) {
        if (isWithin(path, folder) && folder.size() > found.size()) {
            found = folder;
        }
    }
    return found;
}

QString IncludeTable::violation(const QString &from, const QString &line) const
{
    const QSet<QString> &allowed = m_rows.at(from);
    const QString header = systemHeader(line);
    if (!header.isEmpty()) {
        return allowed.contains(u"the system"_s) ? QString() : u"%1 may not include %2"_s.arg(from, header);
    }
    const QString included = includedPath(line);
    if (!included.contains(u'/')) {
        return {};
    }
    const QString to = folderOf(included);
    if (to.isEmpty()) {
        return u"%1 is in no folder of the table"_s.arg(included);
    }
    const bool isAllowed = from == to || allowed.contains(to);
    return isAllowed ? QString() : u"%1 may not include %2"_s.arg(from, to);
}

QStringList IncludeTable::violations(const QString &path, const QString &contents) const
{
    const QString from = folderOf(path);
    if (from.isEmpty()) {
        return {u"%1:1: its folder is not in the table"_s.arg(path)};
    }
    if (m_rows.at(from).contains(u"all"_s)) {
        return {};
    }
    QStringList violations;
    int number = 0;
    for (const QString &line : contents.split(u'\n')) {
        ++number;
        const QString what = violation(from, line);
        if (!what.isEmpty()) {
            violations.append(u"%1:%2: %3"_s.arg(path).arg(number).arg(what));
        }
    }
    return violations;
}

QStringList IncludeTable::violationsBelow(const QString &root) const
{
    // Includes name the folders of KavriniOS without it, and tools as it is.
    QStringList found;
    for (const auto &[base, folder] :
         {std::pair(u"KavriniOS/"_s, u"."_s), std::pair(QString(), u"tools"_s)}) {
        const QDir baseFolder(root + u'/' + base);
        for (const QString &path : sourceFiles(baseFolder, folder)) {
            for (const QString &violation : violations(path, read(baseFolder.filePath(path)))) {
                found.append(base + violation);
            }
        }
    }
    found.sort();
    return found;
}

} // namespace kavrin::test

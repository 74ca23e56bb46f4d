// SPDX-License-Identifier: MIT
#pragma once

#include <QSet>
#include <QString>
#include <QStringList>

#include <map>

namespace kavrin::test
{

/// Which folder of the sources may include which, as the table of docs/architecture.md says. Folders are
/// named as includes name them: "store" for KavriniOS/store, "tools" for tools; the QML module Kavrin.Theme
/// is the folder theme, and "the system" is its headers: <unistd.h>, <sys/socket.h>. A folder holds its
/// subfolders, except those that have a row of their own.
class IncludeTable
{
public:
    /// The table with the heading row "| Folder | May include |"; empty where `markdown` has none.
    static IncludeTable parse(const QString &markdown);

    [[nodiscard]] QStringList folders() const;

    /// The folder of the table that holds the file `path` ("platform/linux/audio/SoundLevel.h"), or an empty
    /// string.
    [[nodiscard]] QString folderOf(const QString &path) const;

    /// What is wrong in the file `path` with these contents, as lines "PATH:LINE: what". Files in the
    /// including file's own folder are included by their name alone or by their path.
    [[nodiscard]] QStringList violations(const QString &path, const QString &contents) const;

    /// What is wrong in the sources below `root`/KavriniOS and `root`/tools.
    [[nodiscard]] QStringList violationsBelow(const QString &root) const;

private:
    /// What is wrong with the line in a file of the folder `from`, or an empty string.
    [[nodiscard]] QString violation(const QString &from, const QString &line) const;

    std::map<QString, QSet<QString>> m_rows; ///< what a folder may include; "all" stands for anything
};

} // namespace kavrin::test

// SPDX-License-Identifier: MIT
#include "screens/DictionaryEntries.h"

#include <QCoreApplication>
#include <QSet>
#include <QStringList>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

QString tr(const char *text)
{
    return QCoreApplication::translate("DictionaryEntries", text);
}

QString counted(int number, const QString &one, const QString &several)
{
    return number == 1 ? one : several.arg(number);
}

/// Counts the entries of lines that come one after the other.
class Counting
{
public:
    DictionaryEntries entries;

    void add(QStringView line, qsizetype from)
    {
        const QString text = line.trimmed().toString();
        const qsizetype sign = text.indexOf(u'=');
        const QString fault = text.isEmpty() ? QString()
            : sign < 0                       ? faultOfWord(text)
                                             : faultOfShortcut(text.left(sign), text.mid(sign + 1));
        if (!fault.isEmpty()) {
            entries.marks.append({from, from + line.size(), fault});
        }
    }

private:
    QString faultOfWord(const QString &word)
    {
        if (m_words.contains(word)) {
            return tr("“%1” is there already.").arg(word);
        }
        m_words.insert(word);
        ++entries.words;
        return {};
    }

    QString faultOfShortcut(const QString &left, const QString &right)
    {
        const QString abbreviation = left.trimmed();
        if (abbreviation.isEmpty()) {
            return tr("Nothing is before “=%1”.").arg(right);
        }
        if (right.trimmed().isEmpty()) {
            return tr("Nothing is after “%1=”.").arg(abbreviation);
        }
        if (m_abbreviations.contains(abbreviation)) {
            return tr("“%1=” is there already.").arg(abbreviation);
        }
        m_abbreviations.insert(abbreviation);
        ++entries.shortcuts;
        return {};
    }

    QSet<QString> m_words;
    QSet<QString> m_abbreviations;
};

} // namespace

QString DictionaryEntries::count() const
{
    QStringList counts;
    if (words > 0) {
        counts.append(counted(words, tr("1 word"), tr("%1 words")));
    }
    if (shortcuts > 0) {
        counts.append(counted(shortcuts, tr("1 shortcut"), tr("%1 shortcuts")));
    }
    return counts.isEmpty() ? tr("No entries yet") : counts.join(tr(" and "));
}

DictionaryEntries DictionaryEntries::in(const QString &text)
{
    Counting counting;
    qsizetype from = 0;
    for (const QStringView line : QStringView(text).split(u'\n')) {
        counting.add(line, from);
        from += line.size() + 1;
    }
    return counting.entries;
}

} // namespace kavrin

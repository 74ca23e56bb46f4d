// SPDX-License-Identifier: MIT
#include "screens/TextMerge.h"

#include "screens/Difference.h"

#include <QStringList>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// Where a place in the shown text is in the stored one, which has two characters for some line ends.
qsizetype storedPlace(QStringView stored, qsizetype shownPlace)
{
    constexpr QStringView lineEnd = u"\r\n";
    qsizetype place = shownPlace;
    for (qsizetype end = stored.indexOf(lineEnd); end >= 0 && end < place;
         end = stored.indexOf(lineEnd, end + lineEnd.size())) {
        ++place;
    }
    return place;
}

using LineChange = Difference<QStringList>;

/// Makes the one change, then the other, which begins where the first one ends or later.
QStringList madeBoth(const QStringList &base, const LineChange &first, const LineChange &second)
{
    return base.mid(0, first.from) + first.now + base.mid(first.end, second.from - first.end) + second.now
        + base.mid(second.end);
}

} // namespace

QString shownText(const QString &stored)
{
    QString shown = stored;
    return shown.replace(u"\r\n"_s, u"\n"_s)
        .replace(u'\r', u'\n')
        .replace(QChar(QChar::ParagraphSeparator), u'\n');
}

QString withEdit(const QString &stored, const QString &before, const QString &now)
{
    const Difference<QString> edit = difference(before, now);
    return stored.left(storedPlace(stored, edit.from)) + edit.now + stored.mid(storedPlace(stored, edit.end));
}

QString mergedText(const QString &base, const QString &mine, const QString &theirs)
{
    if (mine == theirs || base == theirs) {
        return mine;
    }
    const QStringList baseLines = base.split(u'\n');
    const LineChange myChange = difference(baseLines, mine.split(u'\n'));
    const LineChange theirChange = difference(baseLines, theirs.split(u'\n'));
    if (theirChange.end <= myChange.from) {
        return madeBoth(baseLines, theirChange, myChange).join(u'\n');
    }
    if (myChange.end <= theirChange.from) {
        return madeBoth(baseLines, myChange, theirChange).join(u'\n');
    }
    const qsizetype untouched = baseLines.size() - std::max(myChange.end, theirChange.end);
    QStringList lines = theirs.split(u'\n');
    const qsizetype place = lines.size() - untouched;
    return (lines.mid(0, place) + myChange.now + lines.mid(place)).join(u'\n');
}

} // namespace kavrin

// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kavrin
{

/// What an editor shows of a stored text: all line ends are "\n".
QString shownText(const QString &stored);

/// `stored` with what the user has changed in an editor that showed `before` of it and shows `now`. All else
/// stays as it is stored, also line ends of other kinds.
QString withEdit(const QString &stored, const QString &before, const QString &now);

/// Joins two changes of the text `base`, line by line. Where both have changed the same lines, the text has
/// their lines, then mine.
QString mergedText(const QString &base, const QString &mine, const QString &theirs);

} // namespace kavrin

// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace kavrin::ctl
{

/// "Did you mean …?" with the word of `known` that `word` most probably is a mistake for: it differs in the
/// case of its letters, or in one letter of three at most. If there is none, gives `otherwise`.
QString suggestion(const QString &word, const QStringList &known, const QString &otherwise);

} // namespace kavrin::ctl

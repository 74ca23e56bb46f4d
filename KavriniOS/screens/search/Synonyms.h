// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

#include <vector>

/// What people call settings that have other names in the catalogue. To add a word, add it to a row of
/// Synonyms.cpp.
namespace kavrin::search
{

/// A row of the table.
struct Synonyms {
    QString words; ///< what people say, separated by blanks
    QStringList keys; ///< the settings, actions or pages that they mean
};

/// The table. Made on first use, from any thread; never changes.
const std::vector<Synonyms> &synonyms();

/// What people call the setting, action or page with this key or id; empty if it has no other names.
QString synonymsOf(const QString &key);

} // namespace kavrin::search

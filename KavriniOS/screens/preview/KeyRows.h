// SPDX-License-Identifier: MIT
#pragma once

#include "screens/preview/KeyboardLook.h"

#include <QString>

#include <vector>

/// Which keys the keyboard has, row by row, before they have a place.
namespace kavrin
{

enum class KeyRole { Letter, Function, Space, Return };

struct RowKey {
    KeyRole role = KeyRole::Letter;
    QString label; ///< its text; empty if it has a symbol
    QString symbol; ///< a system symbol
    QString hint; ///< a small character in its corner; may be empty
    double cells = 1; ///< its width; a letter's is 1

    bool operator==(const RowKey &) const = default;
};

struct KeyRow {
    bool isNumbers = false; ///< the number row, which has a height of its own
    std::vector<RowKey> keys;
};

/// How many cells make the keyboard's width: the number of letters in its longest row.
double cellsAcross(const KeyboardLook &look);

/// All rows from the top, none wider than cellsAcross().
std::vector<KeyRow> keyRows(const KeyboardLook &look);

} // namespace kavrin

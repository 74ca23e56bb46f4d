// SPDX-License-Identifier: MIT
#include "screens/preview/KeyRows.h"

#include <algorithm>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

const QString digits = u"1234567890"_s;

struct Letters {
    QString row; ///< a character for each key
    QString hints; ///< the same with the hints "all"; the currency sign is ¤
};

using LetterRows = std::vector<Letters>;

const LetterRows &letterRows(const QString &language)
{
    static const LetterRows english = {
        {u"qwertyuiop"_s, digits},
        {u"asdfghjkl"_s, u"@#¤%&-+()"_s},
        {u"zxcvbnm"_s, u"*\"':;!?"_s},
    };
    static const LetterRows turkish = {
        {u"qwertyuıopğü"_s, digits},
        {u"asdfghjklşi"_s, u"@#¤%&-+()/="_s},
        {u"zxcvbnmöç"_s, u"*\"':;!?~_"_s},
    };
    return language == u"tr" ? turkish : english;
}

RowKey letter(const QString &label, double cells = 1, const QString &hint = {})
{
    return {KeyRole::Letter, label, {}, hint, cells};
}

RowKey symbolKey(KeyRole role, const QString &symbol, double cells)
{
    return {role, {}, symbol, {}, cells};
}

/// The hint of the key at `index` of the row at `row`.
QString hintOf(const KeyboardLook &look, const Letters &letters, qsizetype row, qsizetype index)
{
    const bool isShown = look.hints == u"all" || (look.hints == u"numbers" && row == 0);
    if (!isShown || index >= letters.hints.size()) {
        return {};
    }
    const QChar hint = letters.hints[index];
    return hint != u'¤' ? QString(hint) : look.writes(u"tr"_s) ? u"₺"_s : u"$"_s;
}

std::vector<RowKey> letterKeys(const KeyboardLook &look, qsizetype row)
{
    const Letters &letters = letterRows(look.language)[std::size_t(row)];
    std::vector<RowKey> keys;
    keys.reserve(std::size_t(letters.row.size()));
    for (qsizetype index = 0; index < letters.row.size(); ++index) {
        keys.push_back(letter(letters.row[index], 1, hintOf(look, letters, row, index)));
    }
    return keys;
}

/// The third row: its letters between Shift and Delete, which share the rest of the width.
std::vector<RowKey> thirdRow(const KeyboardLook &look)
{
    std::vector<RowKey> keys = letterKeys(look, 2);
    const double rest = (cellsAcross(look) - double(keys.size())) / 2;
    keys.insert(keys.begin(), symbolKey(KeyRole::Function, u"shift"_s, rest));
    keys.push_back(symbolKey(KeyRole::Function, u"delete.left"_s, rest));
    return keys;
}

KeyRow numberRow(double cells)
{
    KeyRow row{true, {}};
    for (const QChar digit : digits) {
        row.keys.push_back(letter(digit, cells / double(digits.size())));
    }
    return row;
}

QString spaceLabel(const KeyboardLook &look)
{
    QStringList names = {u"English"_s, u"Türkçe"_s};
    if (look.language == u"tr") {
        names.swapItemsAt(0, 1);
    }
    const bool writesBoth = look.writes(u"en"_s) && look.writes(u"tr"_s);
    return !look.spaceLabel ? QString() : writesBoth ? names.join(u" · "_s) : names.first();
}

/// The keys of the last row with their share of the keyboard's width in hundredths.
std::vector<RowKey> bottomKeys(const KeyboardLook &look)
{
    const RowKey numbers{KeyRole::Function, u"123"_s, {}, {}, 15};
    const auto space = [&look](double share) {
        return RowKey{KeyRole::Space, spaceLabel(look), {}, {}, share};
    };
    const auto enter = [](double share) { return symbolKey(KeyRole::Return, u"return"_s, share); };
    if (look.stockLayout) {
        return {numbers, symbolKey(KeyRole::Function, u"face.smiling"_s, 12), space(50), enter(23)};
    }
    if (look.punctKeys) {
        return {numbers, letter(u","_s, 10), space(45), letter(u"."_s, 10), enter(20)};
    }
    return {numbers, space(62), enter(23)};
}

KeyRow bottomRow(const KeyboardLook &look)
{
    KeyRow row{false, bottomKeys(look)};
    for (RowKey &key : row.keys) {
        key.cells *= cellsAcross(look) / 100;
    }
    return row;
}

} // namespace

double cellsAcross(const KeyboardLook &look)
{
    return double(letterRows(look.language).front().row.size());
}

std::vector<KeyRow> keyRows(const KeyboardLook &look)
{
    std::vector<KeyRow> rows;
    if (look.numberRow) {
        rows.push_back(numberRow(cellsAcross(look)));
    }
    rows.push_back({false, letterKeys(look, 0)});
    rows.push_back({false, letterKeys(look, 1)});
    rows.push_back({false, thirdRow(look)});
    rows.push_back(bottomRow(look));
    return rows;
}

} // namespace kavrin

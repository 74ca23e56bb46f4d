// SPDX-License-Identifier: MIT
#pragma once

#include <QHash>
#include <QString>

#include <optional>
#include <variant>
#include <vector>

/// Every setting of the keyboard, declared once, as data. The store takes the defaults from this catalogue,
/// the screens draw it, and export and reset walk it. Adding a setting means adding an item to one of its
/// pages.
///
/// All types are plain values. Keys, defaults, ranges and option values are a contract with the keyboard,
/// which reads the same keys.
namespace kavrin::catalogue
{

/// One option of a choice. Its identity is `v`.
struct Opt {
    QString v; ///< the stored value
    QString t; ///< the label shown

    bool operator==(const Opt &) const = default;
};

/// On or off. Stored as a Bool.
struct Toggle {
    bool defaultValue;

    bool operator==(const Toggle &) const = default;
};

/// A number from `lower` to `upper`, both included, in steps of `step`. Stored as a Double.
struct Slider {
    double defaultValue;
    double lower;
    double upper;
    double step;
    QString unit; ///< may be empty

    bool operator==(const Slider &) const = default;
};

/// One of several options. Stored as the option's `v`, a String.
struct Choice {
    QString defaultValue; ///< an option's `v`
    std::vector<Opt> options;
    bool isOpen = false; ///< a value that is not listed may be right, too: services rename their models

    bool operator==(const Choice &) const = default;
};

/// A line of text. Stored as a String.
struct Text {
    QString defaultValue;
    bool secret; ///< the entry is masked

    bool operator==(const Text &) const = default;
};

/// Something to do, not to set. Nothing is stored.
struct Action {
    QString identifier; ///< begins with "act."

    bool operator==(const Action &) const = default;
};

using Kind = std::variant<Toggle, Slider, Choice, Text, Action>;

/// Holds if the choice or text under a key has a value, or if it has another value.
struct Condition {
    QString key;
    QString value;
    bool isEqual = true;

    bool operator==(const Condition &) const = default;
};

/// One row of a page.
struct Item {
    QString key; ///< the key that the item edits, or an action's identifier
    QString title;
    Kind kind;
    std::optional<QString> footer = std::nullopt; ///< explains the item; shown under the row
    // NOLINTNEXTLINE(readability-redundant-member-init): GCC would complain of every item that names none.
    std::vector<Condition> conditions = {}; ///< the row is shown while all of them hold
    bool onlyInKeyboard = false; ///< the keyboard's own settings have the row, but this application does not

    bool operator==(const Item &) const = default;
};

struct Sect {
    QString title; ///< may be empty
    std::vector<Item> items;

    /// The title followed directly by the key of the first item. Only the title if there is no item.
    [[nodiscard]] QString id() const;

    bool operator==(const Sect &) const = default;
};

struct Page {
    QString id; ///< unique and stable
    QString title;
    QString icon; ///< a system symbol name
    std::vector<Sect> sections;

    bool operator==(const Page &) const = default;
};

/// The catalogue. Made on first use, from any thread; never changes.
const std::vector<Page> &pages();

/// Every item of pages() by its key. Made on first use, from any thread; never changes.
const QHash<QString, Item> &items();

/// The items of `pages` by key. If several items have the same key, the last one counts.
QHash<QString, Item> itemsByKey(const std::vector<Page> &pages);

} // namespace kavrin::catalogue

// SPDX-License-Identifier: MIT
#pragma once

#include "catalogue/Catalogue.h"
#include "platform/UserDefaults.h"

#include <QFuture>
#include <QStringList>

#include <optional>
#include <set>
#include <vector>

namespace kavrin
{

/// The keyboard's settings: typed reading and writing of the shared suite with the catalogue's defaults,
/// behind a cache of the process's own. Every function may be called from any thread.
///
/// A value once read stays as read in this process until it is set or reset here; what other processes write
/// to the same keys later is not seen. A change is read back at once, before it is stored. Where it cannot be
/// stored, the value in the suite is read again. Every change is stored together with "settingsRevision", the
/// time by which the keyboard notices it.
class Prefs
{
public:
    using Page = catalogue::Page;
    using Sect = catalogue::Sect;
    using Item = catalogue::Item;
    using Kind = catalogue::Kind;
    using Opt = catalogue::Opt;

    /// The settings catalogue, and its items by key.
    static const std::vector<Page> &pages() { return catalogue::pages(); }
    static const auto &items() { return catalogue::items(); }

    /// Whether the row of a setting is to be shown, as other settings stand.
    static bool isVisible(const QString &key);

    /// The setting as T, one of bool, double and QString: the stored value where it is one; else the
    /// catalogue's default where the item is of that kind; else false, 0 or the empty string. A stored number
    /// is a bool when it is 0 or 1; a stored bool is a number.
    template <typename T> static T get(const QString &key);

    /// Changes one setting; submit() says how.
    static void set(const QString &key, const PropertyListValue &value);

    /// Has settings changed together, as SuiteWriter does it. The result says what went wrong, if anything.
    static QFuture<std::optional<Error>> submit(const Changes &settings);

    /// As submit(), in the calling thread. Returns what went wrong.
    [[nodiscard]] static std::optional<Error> store(const Changes &settings);

    /// How a slider's value is shown: "54 pt", "85%", "0.85". A whole number beyond 64 bits is a fatal error.
    static QString format(double value, const QString &unit);

    /// A tool of the keyboard's toolbar.
    struct Tool {
        QString id;
        QString title;
        QString icon; ///< a system symbol, or "custom.sticker", which the application draws
    };

    /// All tools, in their default order.
    static const std::vector<Tool> &toolIDs();

    /// The stored order without unknown tools, followed by the tools that it lacks.
    static QStringList toolOrder();

    /// The tools that are not shown; never "settings".
    static std::set<QString> toolHidden();

    /// What stores both.
    static Changes toolChanges(const QStringList &order, const std::set<QString> &hidden);

    /// Submits toolChanges().
    static void setTools(const QStringList &order, const std::set<QString> &hidden);

    /// All stored settings, keys of services and the personal dictionary included, as one line of text:
    /// "KAVRINCFG1:" and the Base64 of a JSON object. Empty where a stored value cannot be written as JSON
    /// or the suite cannot be read.
    static QString exportBlob();

    /// Stores what a blob holds, all of it or nothing, in place of what was stored under the same keys.
    /// Members that no export writes are left out. Waits. How many settings were stored, or why none.
    [[nodiscard]] static Result<qsizetype> importBlob(const QString &blob);

    /// What makes the settings read their defaults again.
    static Changes resetChanges(const QStringList &keys);

    /// The keys of every toggle, slider and choice; text, and with it every service's key, is kept.
    static QStringList resettableKeys();

    /// Submits resetChanges(), and has every other setting read anew.
    static QFuture<std::optional<Error>> reset(const QStringList &keys);

    /// reset() with resettableKeys().
    static QFuture<std::optional<Error>> resetAll();
};

template <> bool Prefs::get<bool>(const QString &key);
template <> double Prefs::get<double>(const QString &key);
template <> QString Prefs::get<QString>(const QString &key);

} // namespace kavrin

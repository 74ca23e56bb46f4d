// SPDX-License-Identifier: MIT
#pragma once

#include "catalogue/Catalogue.h"
#include "platform/UserDefaults.h"
#include "store/PastChange.h"

#include <QFuture>
#include <QStringList>

#include <memory>
#include <optional>
#include <set>
#include <vector>

namespace kavrin
{

/// The keyboard's settings: typed reading and writing of the shared suite, with the catalogue's defaults and
/// a cache in this process. Any thread may call every function.
///
/// This process keeps a value that it has read until it sets, resets or forgets it: it does not see what
/// other processes write to the same key later. A change can be read back at once, before it is stored. If it
/// cannot be stored, the value in the suite is read again. Every change is stored together with
/// "settingsRevision", the time that tells the keyboard of the change.
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

    /// Whether the row of a setting is shown, given the present values of other settings.
    static bool isVisible(const QString &key);

    /// The setting as T, which is bool, double or QString: the stored value if it is a T; else the
    /// catalogue's default if the item is of that kind; else false, 0 or the empty string. A stored number is
    /// a bool if it is 0 or 1; a stored bool is a number.
    template <typename T> static T get(const QString &key);

    /// Changes one setting with submit().
    static void set(const QString &key, const PropertyListValue &value);

    /// Changes settings together, through SuiteWriter. The result says what went wrong, if anything.
    static QFuture<std::optional<Error>> submit(const Changes &settings);

    /// Like submit(), but in the calling thread. Returns what went wrong.
    [[nodiscard]] static std::optional<Error> store(const Changes &settings);

    /// A slider's value as the user sees it: "54 pt", "85%", "0.85". A whole number beyond 64 bits is a fatal
    /// error.
    static QString format(double value, const QString &unit);

    /// format() for what is stored, which another program may have written: a whole number beyond 64 bits is
    /// shown in scientific form, such as "1e+20 pt".
    static QString formatStored(double value, const QString &unit);

    /// A tool of the keyboard's toolbar.
    struct Tool {
        QString id;
        QString title;
        QString icon; ///< a system symbol, or "custom.sticker", which the application draws
    };

    /// All tools, in their default order.
    static const std::vector<Tool> &toolIDs();

    /// The stored order without unknown tools, followed by the tools that are missing from it.
    static QStringList toolOrder();

    /// The tools that are not shown; never "settings".
    static std::set<QString> toolHidden();

    /// The changes that store both.
    static Changes toolChanges(const QStringList &order, const std::set<QString> &hidden);

    /// Submits toolChanges().
    static void setTools(const QStringList &order, const std::set<QString> &hidden);

    /// All stored settings, with the keys of services and the personal dictionary, as one line of text:
    /// "KAVRINCFG1:" and the Base64 of a JSON object. Empty if a stored value cannot be written as JSON, or
    /// if the suite cannot be read.
    static QString exportBlob();

    /// What an import has done. Each text is a sentence for a person.
    struct Import {
        qsizetype count = 0; ///< how many settings it stored
        QStringList misfits; ///< the settings that it left as they were, because their values do not fit
        QStringList remarks; ///< what else a person may want to check
    };

    /// Stores the settings in a blob, all that fit the catalogue or none, and replaces what was stored under
    /// the same keys. A model that its setting does not list fits, and so does any personal dictionary. It
    /// leaves out members that an export never writes. A SettingsState is brought back as it was, even values
    /// that do not fit. It waits until that is done. Returns what it has done, or why it stored nothing.
    [[nodiscard]] static Result<Import> importBlob(const QString &blob);

    /// The changes that return the settings to their defaults.
    static Changes resetChanges(const QStringList &keys);

    /// The keys of every toggle, slider and choice. Text is not among them, so every service's key is kept.
    static QStringList resettableKeys();

    /// Submits resetChanges(), and forgets all other values, so that they are read again. `past`, if any, is
    /// what the reset has changed; it is written before the result is there.
    static QFuture<std::optional<Error>> reset(const QStringList &keys,
                                               const std::shared_ptr<PastChange> &past = nullptr);

    /// reset() with resettableKeys().
    static QFuture<std::optional<Error>> resetAll(const std::shared_ptr<PastChange> &past = nullptr);

    /// The keys that an export holds and an import may change.
    static QStringList transferKeys();

    /// Brings back what was before a change, except for what has been changed again since. Call forget() when
    /// it is done.
    static QFuture<std::optional<Error>> takeBack(const PastChange &past);

    /// Forgets all values, so that they are read again: another process has changed some, and has stamped
    /// "settingsRevision".
    static void forget();

    /// Forgets the keys of services, which are read again when they are shown again.
    static void forgetKeys();
};

template <> bool Prefs::get<bool>(const QString &key);
template <> double Prefs::get<double>(const QString &key);
template <> QString Prefs::get<QString>(const QString &key);

} // namespace kavrin

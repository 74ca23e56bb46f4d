// SPDX-License-Identifier: MIT
#include "screens/SettingModel.h"

#include "screens/StoreNote.h"
#include "screens/UnseenChanges.h"
#include "store/PrefsCache.h"
#include "store/SettingValue.h"

#include <QCoroFuture>
#include <QPointer>
#include <QVariantMap>

#include <algorithm>
#include <cmath>
#include <utility>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

/// For an item of another kind, gives an empty kind; no row shows it.
template <typename Kind> const Kind &kindOf(const Prefs::Item &item)
{
    static const Kind otherKind = {};
    const Kind *kind = std::get_if<Kind>(&item.kind);
    return kind != nullptr ? *kind : otherKind;
}

/// The default that a row can go back to. None for an action, a secret, and a text that is empty at first.
struct DefaultValue {
    using Value = std::optional<PropertyListValue>;

    Value operator()(const catalogue::Action &) const { return std::nullopt; }

    Value operator()(const catalogue::Text &text) const
    {
        return text.secret || text.defaultValue.isEmpty() ? Value() : text.defaultValue;
    }

    Value operator()(const auto &kind) const { return kind.defaultValue; }
};

} // namespace

SettingModel::SettingModel(Prefs::Item item, QObject *parent)
    : QObject(parent), m_item(std::move(item)), m_visible(Prefs::isVisible(m_item.key))
{
    if (unseenChanges().contains(m_item.key)) {
        showOutcome(unseenChanges().value(m_item.key));
    }
}

void SettingModel::setNote(const QString &note)
{
    if (note != m_note) {
        m_note = note;
        Q_EMIT noteChanged();
    }
}

void SettingModel::setProblem(const QString &problem)
{
    if (problem != m_problem) {
        m_problem = problem;
        Q_EMIT problemChanged();
    }
}

void SettingModel::setHeld(bool held)
{
    if (held == m_isHeld) {
        return;
    }
    m_isHeld = held;
    if (held && kind() == Kind::Slider) {
        m_valueAtPress = PrefsCache::shared().find(m_item.key);
    }
    Q_EMIT heldChanged();
    if (!held && std::exchange(m_isBehind, false)) {
        refresh();
    }
}

void SettingModel::refresh()
{
    if (m_isHeld) {
        m_isBehind = true;
        return;
    }
    reread();
    Q_EMIT textChanged();
    const bool visible = Prefs::isVisible(m_item.key);
    if (visible != m_visible) {
        m_visible = visible;
        Q_EMIT visibleChanged();
    }
}

void SettingModel::reread()
{
    ++m_tick;
    Q_EMIT ticked();
}

/// Shows the new value at once.
void SettingModel::store(const std::optional<PropertyListValue> &value)
{
    ++m_changes;
    setProblem({});
    const Written written = Prefs::submit({{m_item.key, value}});
    unseenChanges().insert(m_item.key, written);
    Q_EMIT textChanged();
    showValue();
    showOutcome(written);
}

/// If the row's last change could not be stored, shows what the suite holds.
QCoro::Task<> SettingModel::showOutcome(QFuture<std::optional<Error>> written)
{
    const QPointer self(this);
    const int change = m_changes;
    const std::optional<Error> failure = co_await written;
    if (!self) {
        co_return;
    }
    const bool isLast = change == m_changes;
    if (isLast) {
        unseenChanges().remove(m_item.key);
    }
    if (isLast && !failure) {
        m_unsavedText.reset();
    }
    setProblem(failure ? storeNote(*failure) : QString());
    if (failure) {
        showValue();
    }
}

void SettingModel::showValue()
{
    reread();
    if (kind() == Kind::Toggle || kind() == Kind::Choice) {
        Q_EMIT changed();
    }
}

bool SettingModel::isOn() const
{
    return Prefs::get<bool>(m_item.key);
}

void SettingModel::setOn(bool on)
{
    store(on);
}

double SettingModel::number() const
{
    return Prefs::get<double>(m_item.key);
}

void SettingModel::setNumber(double number)
{
    store(step() * std::round(number / step()));
}

void SettingModel::takeBack()
{
    if (PrefsCache::shared().find(m_item.key) != m_valueAtPress) {
        store(m_valueAtPress);
    }
}

QString SettingModel::numberText() const
{
    return Prefs::formatStored(number(), kindOf<catalogue::Slider>(m_item).unit);
}

double SettingModel::defaultNumber() const
{
    return kindOf<catalogue::Slider>(m_item).defaultValue;
}

double SettingModel::lower() const
{
    return kindOf<catalogue::Slider>(m_item).lower;
}

double SettingModel::upper() const
{
    return kindOf<catalogue::Slider>(m_item).upper;
}

double SettingModel::step() const
{
    return kindOf<catalogue::Slider>(m_item).step;
}

QString SettingModel::text() const
{
    // A field would turn line breaks that another program has stored into blanks, and store that.
    return m_unsavedText ? *m_unsavedText : toOneLine(Prefs::get<QString>(m_item.key));
}

void SettingModel::setText(const QString &text)
{
    // A pasted text may have line breaks, which a field shows as blanks.
    m_unsavedText = toOneLine(text);
    store(entered(*m_unsavedText));
}

PropertyListValue SettingModel::entered(const QString &line) const
{
    return fittingValue(m_item.kind, line).value_or(line);
}

bool SettingModel::isSecret() const
{
    return kindOf<catalogue::Text>(m_item).secret;
}

QVariantList SettingModel::options() const
{
    QVariantList options;
    for (const Prefs::Opt &option : kindOf<catalogue::Choice>(m_item).options) {
        options.append(QVariantMap{{u"v"_s, option.v}, {u"t"_s, platformText(option.t)}});
    }
    return options;
}

int SettingModel::optionIndex() const
{
    const std::vector<Prefs::Opt> &options = kindOf<catalogue::Choice>(m_item).options;
    const auto chosen = std::ranges::find(options, text(), &Prefs::Opt::v);
    return chosen == options.end() ? -1 : int(chosen - options.begin());
}

void SettingModel::setOptionIndex(int index)
{
    store(kindOf<catalogue::Choice>(m_item).options.at(std::size_t(index)).v);
}

QString SettingModel::action() const
{
    return kindOf<catalogue::Action>(m_item).identifier;
}

bool SettingModel::isDefault() const
{
    const std::optional<PropertyListValue> value = std::visit(DefaultValue(), m_item.kind);
    if (!value) {
        return true;
    }
    if (const auto *on = std::get_if<bool>(&*value)) {
        return *on == isOn();
    }
    if (const auto *standard = std::get_if<double>(&*value)) {
        return qFuzzyCompare(1 + *standard, 1 + number()); // its nearest step may differ in the last digit
    }
    return *value == PropertyListValue(text());
}

QString SettingModel::defaultText() const
{
    const PropertyListValue value = std::visit(DefaultValue(), m_item.kind).value_or(QString());
    if (const auto *on = std::get_if<bool>(&value)) {
        return *on ? tr("on") : tr("off");
    }
    if (const auto *number = std::get_if<double>(&value)) {
        return Prefs::formatStored(*number, kindOf<catalogue::Slider>(m_item).unit);
    }
    const QString text = std::get<QString>(value);
    const std::vector<Prefs::Opt> &options = kindOf<catalogue::Choice>(m_item).options;
    const auto option = std::ranges::find(options, text, &Prefs::Opt::v);
    return option == options.end() ? text : platformText(option->t);
}

void SettingModel::restoreDefault()
{
    if (const std::optional<PropertyListValue> value = std::visit(DefaultValue(), m_item.kind)) {
        m_unsavedText.reset();
        store(value);
    }
}

} // namespace kavrin

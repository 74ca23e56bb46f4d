// SPDX-License-Identifier: MIT
#include "screens/SettingsUndo.h"

#include "store/Prefs.h"
#include "store/Shared.h"

#include <QCoroFuture>
#include <QPointer>

#include <utility>

namespace kavrin
{

QString SettingsUndo::text() const
{
    return m_steps.empty() ? QString() : m_steps.back().text;
}

void SettingsUndo::offer(const QString &text, const PastChange &past)
{
    if (!past.isEmpty()) {
        m_steps.push_back({text, past});
        m_note.clear();
        Q_EMIT changed();
    }
}

QCoro::Task<> SettingsUndo::offerWhenWritten(QString text, std::shared_ptr<const PastChange> past,
                                             QFuture<std::optional<Error>> written)
{
    const QPointer self(this);
    const int closings = m_closings;
    const std::optional<Error> failure = co_await written;
    if (self && !failure && closings == m_closings) {
        offer(text, *past);
    }
}

void SettingsUndo::expectImport()
{
    const auto [settings, failure] = Shared::d().objects(Prefs::transferKeys());
    m_beforeImport = failure ? std::nullopt : std::optional(settings);
}

void SettingsUndo::offerImport()
{
    const auto before = std::exchange(m_beforeImport, std::nullopt);
    const auto [settings, failure] = Shared::d().objects(Prefs::transferKeys());
    if (before && !failure) {
        offer(tr("Settings imported"), {Prefs::transferKeys(), *before, settings});
    }
}

void SettingsUndo::undo()
{
    if (!m_steps.empty()) {
        const Step last = m_steps.back();
        m_steps.pop_back(); // a second press takes back the one before
        takeBack(last);
    }
}

QCoro::Task<> SettingsUndo::takeBack(Step step)
{
    const QPointer self(this);
    const int closings = m_closings;
    m_note.clear();
    Q_EMIT changed();
    const QFuture<std::optional<Error>> written = Prefs::takeBack(step.past);
    const std::optional<Error> failure = co_await written;
    if (!self) {
        co_return;
    }
    if (failure && closings == m_closings) {
        m_steps.push_back(step);
        m_note = tr("This could not be undone. %1").arg(failure->localizedDescription);
        Q_EMIT changed();
    }
    Q_EMIT undone();
}

void SettingsUndo::clear()
{
    m_steps.clear();
    m_note.clear();
    m_beforeImport.reset();
    Q_EMIT changed();
}

void SettingsUndo::closeWindow()
{
    ++m_closings;
    clear();
}

} // namespace kavrin

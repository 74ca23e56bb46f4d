// SPDX-License-Identifier: MIT
#include "App/DictationTray.h"

#include "platform/Symbols.h"
#include "store/DictationKeys.h"

#include <QPainter>

#include <algorithm>
#include <array>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

struct Appearance {
    QString activity;
    QString symbol;
    QRgb color;
    QString toolTip;
    QStringList menu; ///< by Entry
};

const QString start = u"Start dictation"_s;
const QString stop = u"Stop dictation"_s;
const QString cancel = u"Cancel dictation"_s;
const QString none;

const std::array appearances = {
    Appearance{
        dictation::idle, u"mic"_s, 0xff5f6b7a, u"Kavrin: ready"_s, {u"Open"_s, start, none, none, u"Quit"_s}},
    Appearance{dictation::starting,
               u"mic"_s,
               0xffd32f2f,
               u"Kavrin: starting to record"_s,
               {u"Open"_s, none, stop, cancel, u"Quit"_s}},
    Appearance{dictation::recording,
               u"mic.fill"_s,
               0xffd32f2f,
               u"Kavrin: recording"_s,
               {u"Open"_s, none, stop, cancel, u"Quit"_s}},
    Appearance{dictation::working,
               u"ellipsis"_s,
               0xff1a73c8,
               u"Kavrin: transcribing"_s,
               {u"Open"_s, start, none, cancel, u"Quit"_s}},
};

/// A place in the menu has one meaning: what was meant to stop never starts, however late it is chosen.
enum Entry { Open, Start, Stop, Cancel, Quit };

/// Draws the symbol white on its own disc, so that it stands out from light and dark panels.
QPixmap disc(const Appearance &appearance, int size)
{
    QImage symbol = Symbols::image(appearance.symbol, size * 5 / 8);
    symbol.invertPixels(); // black and premultiplied, so transparent pixels stay transparent
    QPixmap pixmap(size, size);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgba(appearance.color));
    painter.drawEllipse(pixmap.rect());
    painter.drawImage((size - symbol.width()) / 2, (size - symbol.height()) / 2, symbol);
    return pixmap;
}

QIcon icon(const Appearance &appearance)
{
    QIcon icon;
    for (const int size : {16, 22, 24, 32, 48, 64}) {
        icon.addPixmap(disc(appearance, size));
    }
    return icon;
}

} // namespace

DictationTray::DictationTray(Tray &tray, DictationBridge &bridge, const Dictations &dictations)
    : m_tray(tray), m_bridge(bridge), m_dictations(dictations)
{
    connect(&tray, &Tray::changed, this, &DictationTray::update);
    connect(&tray, &Tray::activated, this, &DictationTray::openRequested);
    connect(&tray, &Tray::chosen, this, &DictationTray::choose);
    // Queued, because drawing takes time that the start of a recording has not.
    connect(&dictations, &Dictations::stateChanged, this, &DictationTray::update, Qt::QueuedConnection);
    update();
}

void DictationTray::update()
{
    if (!m_tray.isAvailable()) {
        return;
    }
    const auto *const appearance =
        std::ranges::find(appearances, m_dictations.activity(), &Appearance::activity);
    QIcon &shown = m_icons[appearance->activity];
    if (shown.isNull()) {
        shown = icon(*appearance);
    }
    m_tray.show({.icon = shown, .toolTip = appearance->toolTip, .menu = appearance->menu});
}

void DictationTray::start()
{
    m_bridge.start().then([self = QPointer(this)](const std::optional<Error> &failure) {
        if (self) {
            self->tell(failure);
        }
    });
}

/// A recorder that fails reports that itself.
void DictationTray::tell(const std::optional<Error> &failure)
{
    if (failure && failure->code == DictationBridge::refused) {
        Q_EMIT refused(failure->localizedDescription);
    }
}

void DictationTray::choose(int entry)
{
    switch (entry) {
    case Open:
        Q_EMIT openRequested();
        break;
    case Start:
        start();
        break;
    case Stop:
        tell(m_bridge.stop());
        break;
    case Cancel:
        tell(m_bridge.cancel());
        break;
    case Quit:
        Q_EMIT quitRequested();
        break;
    default:
        break;
    }
}

} // namespace kavrin

// SPDX-License-Identifier: MIT
#include "App/DictationTray.h"

#include "platform/Symbols.h"

#include <QPainter>

#include <algorithm>
#include <array>

namespace kavrin
{

using namespace Qt::StringLiterals;

namespace
{

using S = Recorder::S;

struct Appearance {
    S state;
    const char *symbol;
    QRgb color;
    const char *toolTip;
};

constexpr std::array appearances = {
    Appearance{S::idle, "mic", 0xff5f6b7a, "Kavrin: ready"},
    Appearance{S::recording, "mic.fill", 0xffd32f2f, "Kavrin: recording"},
    Appearance{S::working, "ellipsis", 0xff1a73c8, "Kavrin: transcribing"},
};

enum Entry { Open, Dictate, Cancel, Quit };

/// Draws the symbol white on its own disc, so that it stands out from light and dark panels.
QPixmap disc(const Appearance &appearance, int size)
{
    QImage symbol = Symbols::image(QString::fromLatin1(appearance.symbol), size * 5 / 8);
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
    connect(&dictations, &Dictations::stateChanged, this, &DictationTray::update);
    update();
}

void DictationTray::update()
{
    if (!m_tray.isAvailable()) {
        return;
    }
    const S state = m_dictations.state();
    const auto *const appearance =
        std::ranges::find_if(appearances, [state](const Appearance &one) { return one.state == state; });
    const bool records = state == S::recording;
    m_tray.show({
        .icon = icon(*appearance),
        .toolTip = QString::fromLatin1(appearance->toolTip),
        .menu = {u"Open"_s, records ? u"Stop dictation"_s : u"Start dictation"_s,
                 state == S::idle ? QString() : u"Cancel dictation"_s, u"Quit"_s},
    });
}

void DictationTray::toggle()
{
    m_bridge.toggle().then([self = QPointer(this)](const std::optional<Error> &failure) {
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
    case Dictate:
        toggle();
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

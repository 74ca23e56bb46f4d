// SPDX-License-Identifier: MIT
#include "tools/kavrinctl/Console.h"

#include <QDBusConnection>
#include <QDBusMessage>

#include <algorithm>
#include <array>
#include <chrono>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

/// The typist may have to be started, and then starts Kavrin.
constexpr std::chrono::milliseconds answerLimit = std::chrono::seconds(30);

/// What happens to the typist's key.
struct KeyAction {
    QString name;
    QString method; ///< of the typist on the bus
};

const KeyAction &keyActionOf(const QString &name)
{
    static const std::array actions = {
        KeyAction{u"toggle"_s, u"Toggle"_s},
        KeyAction{u"press"_s, u"Press"_s},
        KeyAction{u"release"_s, u"Release"_s},
        KeyAction{u"cancel"_s, u"Cancel"_s},
    };
    const auto *const found = std::ranges::find(actions, name, &KeyAction::name);
    if (found == actions.end()) {
        throw UsageError{u"\"%1\" is none of toggle, press, release and cancel."_s.arg(name)};
    }
    return *found;
}

void callTypist(const QString &method)
{
    const QDBusMessage message = QDBusMessage::createMethodCall(
        u"app.kavrin.Typist"_s, u"/app/kavrin/Typist"_s, u"app.kavrin.Typist"_s, method);
    const QDBusMessage answer =
        QDBusConnection::sessionBus().call(message, QDBus::Block, int(answerLimit.count()));
    if (answer.errorName() == u"app.kavrin.Typist.Error.Refused") {
        throw Refusal{answer.errorMessage()};
    }
    if (answer.type() != QDBusMessage::ReplyMessage) {
        throw Refusal{u"kavrin-typist does not answer: "_s + answer.errorMessage()};
    }
}

} // namespace

void type(QStringList &arguments)
{
    expectNoFlags(arguments);
    expectCount(arguments, 1, 1);
    callTypist(keyActionOf(arguments.first()).method);
}

} // namespace kavrin::ctl

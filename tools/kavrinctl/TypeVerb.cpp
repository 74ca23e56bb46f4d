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

using namespace std::chrono_literals;

/// The typist may have to be started, and then starts Kavrin.
constexpr std::chrono::milliseconds answerLimit = 30s;

/// The user may look up which keys are free.
constexpr std::chrono::milliseconds userLimit = 10min;

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
        throw UsageError{u"\"%1\" is none of toggle, press, release, cancel and shortcut."_s.arg(name)};
    }
    return *found;
}

/// What the typist answers; empty if it returns nothing.
QString callTypist(const QString &method, std::chrono::milliseconds limit = answerLimit)
{
    const QDBusMessage message = QDBusMessage::createMethodCall(
        u"app.kavrin.Typist"_s, u"/app/kavrin/Typist"_s, u"app.kavrin.Typist"_s, method);
    const QDBusMessage answer = QDBusConnection::sessionBus().call(message, QDBus::Block, int(limit.count()));
    if (answer.errorName() == u"app.kavrin.Typist.Error.Refused") {
        throw Refusal{answer.errorMessage()};
    }
    if (answer.type() != QDBusMessage::ReplyMessage) {
        throw Refusal{u"kavrin-typist does not answer: "_s + answer.errorMessage()};
    }
    return answer.arguments().value(0).toString();
}

/// The typist answers with the keys, or with a sentence that says why there are none.
void askForShortcut()
{
    const QString answer = callTypist(u"AskForShortcut"_s, userLimit);
    if (answer.endsWith(u'.')) {
        throw Refusal{answer};
    }
    print(answer);
}

} // namespace

void type(QStringList &arguments)
{
    expectNoFlags(arguments);
    expectArguments(arguments, {u"toggle, press, release, cancel or shortcut"_s});
    if (arguments.first() == u"shortcut") {
        askForShortcut();
    } else {
        callTypist(keyActionOf(arguments.first()).method);
    }
}

} // namespace kavrin::ctl

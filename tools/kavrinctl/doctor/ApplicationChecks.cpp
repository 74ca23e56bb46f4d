// SPDX-License-Identifier: MIT
#include "loopback/Loopback.h"
#include "platform/linux/network/LocalPort.h"
#include "platform/linux/network/NetworkUrlSession.h"
#include "store/DictationKeys.h"
#include "store/Shared.h"
#include "tools/kavrinctl/Await.h"
#include "tools/kavrinctl/RunningKavrin.h"
#include "tools/kavrinctl/doctor/Checks.h"

#include <QJsonDocument>

#include <utility>

namespace kavrin::ctl
{

namespace
{

using namespace Qt::StringLiterals;

const QString restart = u"Quit Kavrin and start it again."_s;
const QString endTheOther = u"End that program (\"ss -ltnp sport = :49731\" names it), and Kavrin takes the "
                            "port within three seconds. Or do nothing: dictation over the suite works."_s;

std::optional<double> heartbeat()
{
    const std::optional<PropertyListValue> value = Shared::d().object(dictation::aliveKey);
    const auto *time = value ? std::get_if<double>(&*value) : nullptr;
    return time == nullptr ? std::nullopt : std::optional(*time);
}

/// What the program at Kavrin's port answers; nothing if no whole answer comes.
QByteArray loopbackAnswer()
{
    UrlRequest request;
    request.url = "http://127.0.0.1:" + QByteArray::number(Loopback::port) + "/get";
    request.timeout = std::chrono::seconds(5);
    NetworkUrlSession session;
    try {
        return await(session.data(std::move(request)));
    } catch (const Error &) {
        return {};
    }
}

/// Whether the program at the port tells the suite's heartbeat, as only Kavrin can. The heart may beat
/// meanwhile.
bool tellsTheHeartbeat()
{
    const std::optional<double> before = heartbeat();
    const QJsonValue told = QJsonDocument::fromJson(loopbackAnswer())[dictation::aliveKey];
    return told.isDouble() && (told.toDouble() == before || told.toDouble() == heartbeat());
}

} // namespace

Finding checkKavrin()
{
    const std::optional<QString> version = runningVersion();
    if (!version) {
        return bad(
            u"Kavrin is not running, or not on this session bus."_s,
            u"Start it: \"kavrin\", or at each login \"systemctl --user enable --now kavrin.service\"."_s);
    }
    const QString own = QStringLiteral(KAVRIN_VERSION);
    if (*version != own) {
        return bad(u"Kavrin runs in another version than kavrinctl, which is %1."_s.arg(own), restart);
    }
    return good(u"Kavrin %1 runs."_s.arg(own));
}

Finding checkSuite()
{
    const QString path = Shared::d().path();
    if (!Shared::isShared()) {
        return bad(u"The suite shared with the keyboard cannot be opened."_s,
                   u"\"kavrinctl where\" names the private settings that are used in its place."_s);
    }
    // Both changes are one transaction, so nobody ever sees the key. The page is written all the same.
    const QString probe = u"doctorProbe"_s;
    if (const std::optional<Error> failure = Shared::d().write({{probe, true}, {probe, std::nullopt}})) {
        return bad(u"%1 cannot be written: %2"_s.arg(path, failure->localizedDescription),
                   u"Make room, or end the program that holds it."_s);
    }
    return good(u"%1 can be written."_s.arg(path));
}

Finding checkPort()
{
    const PortOwner owner = portOwner(Loopback::port);
    if (owner == PortOwner::Stranger) {
        return bad(u"Another user's program has the port of Kavrin's HTTP server."_s, endTheOther);
    }
    const bool isRunning = runningVersion().has_value();
    if (owner == PortOwner::Nobody) {
        return isRunning ? bad(u"Kavrin runs, but its HTTP server does not listen."_s,
                               u"Ask again in three seconds, when it has tried again."_s)
                         : good(u"The port is free for Kavrin's HTTP server."_s);
    }
    return tellsTheHeartbeat()
        ? good(u"Kavrin's HTTP server answers."_s)
        : bad(u"Another program of yours has the port of Kavrin's HTTP server."_s, endTheOther);
}

} // namespace kavrin::ctl

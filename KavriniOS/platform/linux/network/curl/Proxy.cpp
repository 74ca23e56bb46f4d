// SPDX-License-Identifier: MIT
#include "platform/linux/network/curl/Proxy.h"

#include <QHostAddress>
#include <QNetworkInterface>
#include <QNetworkProxyFactory>
#include <QRegularExpression>
#include <QSysInfo>

#include <algorithm>
#include <initializer_list>

namespace kavrin
{

namespace
{

using namespace Qt::StringLiterals;

bool isThisMachinesAddress(const QHostAddress &address)
{
    const QList<QHostAddress> own = QNetworkInterface::allAddresses();
    return address.isLoopback() || address.isEqual(QHostAddress(QHostAddress::AnyIPv4))
        || std::ranges::any_of(own, [&](const QHostAddress &other) { return address.isEqual(other); });
}

bool isThisMachinesName(const QString &name)
{
    return name == "localhost"_L1 || name.endsWith(".localhost"_L1)
        || name == QSysInfo::machineHostName().toLower();
}

/// The first of the variables that is not empty.
QByteArray environment(std::initializer_list<const char *> variables)
{
    for (const char *variable : variables) {
        if (QByteArray value = qgetenv(variable); !value.isEmpty()) {
            return value;
        }
    }
    return {};
}

/// As libcurl: HTTP_PROXY does not count, because a web server sets it to what a client sends.
QByteArray environmentsProxy(const QUrl &url)
{
    return url.scheme() == "https"_L1 ? environment({"https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"})
                                      : environment({"http_proxy", "all_proxy", "ALL_PROXY"});
}

/// Whether an entry of no_proxy covers the host. A name covers all names that end with it.
bool covers(QString entry, const QString &host, const QHostAddress &address)
{
    if (entry == "*"_L1) {
        return true;
    }
    if (!address.isNull()) {
        return address.isInSubnet(QHostAddress::parseSubnet(entry));
    }
    if (entry.startsWith(u'.')) {
        entry.remove(0, 1);
    }
    return host == entry || host.endsWith(u'.' + entry);
}

bool environmentExcepts(const QString &host, const QHostAddress &address)
{
    static const QRegularExpression separators(u"[,\\s]+"_s);
    const QString list = QString::fromLocal8Bit(environment({"no_proxy", "NO_PROXY"})).toLower();
    const QStringList entries = list.split(separators, Qt::SkipEmptyParts);
    return std::ranges::any_of(entries, [&](const QString &entry) { return covers(entry, host, address); });
}

QByteArray systemsProxy(const QUrl &url)
{
    const QNetworkProxy proxy = QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(url)).value(0);
    if (proxy.type() == QNetworkProxy::NoProxy || proxy.hostName().isEmpty()) {
        return {};
    }
    QUrl address;
    address.setScheme(proxy.type() == QNetworkProxy::Socks5Proxy ? u"socks5h"_s : u"http"_s);
    address.setHost(proxy.hostName());
    address.setPort(proxy.port());
    address.setUserName(proxy.user());
    address.setPassword(proxy.password());
    return address.toEncoded();
}

} // namespace

QByteArray proxyFor(const QUrl &url)
{
    QString host = url.host();
    if (host.endsWith(u'.')) {
        host.chop(1);
    }
    const QHostAddress address(host);
    if (isThisMachinesName(host) || isThisMachinesAddress(address)) {
        return {};
    }
    if (const QByteArray proxy = environmentsProxy(url); !proxy.isEmpty()) {
        return environmentExcepts(host, address) ? QByteArray() : proxy;
    }
    return systemsProxy(url);
}

} // namespace kavrin

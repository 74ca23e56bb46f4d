// SPDX-License-Identifier: MIT
#pragma once

#include <QObject>
#include <QTimer>

#include <curl/curl.h>

#include <functional>
#include <map>
#include <memory>

class QSocketNotifier;

namespace kavrin
{

/// Runs libcurl's transfers on Qt's event loop (libcurl-multi(3), the "multi_socket" way), any number at
/// once. Connections are kept for later transfers. One thread only; it needs an event loop.
class CurlTransfers : public QObject
{
    Q_OBJECT

public:
    using Ended = std::function<void(CURLcode)>;

    CurlTransfers();

    /// Every transfer must have ended or been removed.
    ~CurlTransfers() override;

    /// Starts a transfer, which must stay as it is until it has ended; `ended` is called from the event loop.
    void add(CURL *transfer, Ended ended);

    /// Gives a transfer up; nobody is told that it ended. Does nothing with one that has.
    void remove(CURL *transfer);

private:
    struct Watch {
        std::unique_ptr<QSocketNotifier> read;
        std::unique_ptr<QSocketNotifier> write;
    };

    static int watchSocket(CURL *transfer, curl_socket_t socket, int what, void *self, void *unused);
    static int setTimer(CURLM *multi, long milliseconds, void *self);

    void watch(curl_socket_t socket, int what);
    std::unique_ptr<QSocketNotifier> notifier(curl_socket_t socket, bool reads);
    void act(curl_socket_t socket, int events);
    void reportEnded();

    CURLM *m_multi;
    QTimer m_timer;
    std::map<curl_socket_t, Watch> m_watches;
    std::map<CURL *, Ended> m_transfers;
};

} // namespace kavrin

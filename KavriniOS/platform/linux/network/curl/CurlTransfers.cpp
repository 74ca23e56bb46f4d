// SPDX-License-Identifier: MIT
#include "platform/linux/network/curl/CurlTransfers.h"

#include <QSocketNotifier>

#include <new>
#include <utility>
#include <vector>

namespace kavrin
{

namespace
{

CURLM *newMulti()
{
    static const CURLcode initialized = curl_global_init(CURL_GLOBAL_DEFAULT);
    CURLM *multi = initialized == CURLE_OK ? curl_multi_init() : nullptr;
    if (!multi) {
        throw std::bad_alloc();
    }
    return multi;
}

} // namespace

CurlTransfers::CurlTransfers() : m_multi(newMulti())
{
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETFUNCTION, &watchSocket);
    curl_multi_setopt(m_multi, CURLMOPT_SOCKETDATA, this);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERFUNCTION, &setTimer);
    curl_multi_setopt(m_multi, CURLMOPT_TIMERDATA, this);
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, [this] { act(CURL_SOCKET_TIMEOUT, 0); });
}

CurlTransfers::~CurlTransfers()
{
    curl_multi_cleanup(m_multi);
}

void CurlTransfers::add(CURL *transfer, Ended ended)
{
    m_transfers.emplace(transfer, std::move(ended));
    curl_multi_add_handle(m_multi, transfer);
}

void CurlTransfers::remove(CURL *transfer)
{
    if (m_transfers.erase(transfer) != 0) {
        curl_multi_remove_handle(m_multi, transfer);
    }
}

int CurlTransfers::watchSocket(CURL * /*transfer*/, curl_socket_t socket, int what, void *self,
                               void * /*unused*/)
{
    static_cast<CurlTransfers *>(self)->watch(socket, what);
    return 0;
}

void CurlTransfers::watch(curl_socket_t socket, int what)
{
    if (what == CURL_POLL_REMOVE) {
        m_watches.erase(socket);
        return;
    }
    Watch &watch = m_watches[socket];
    if (!watch.read) {
        watch = {notifier(socket, true), notifier(socket, false)};
    }
    watch.read->setEnabled((what & CURL_POLL_IN) != 0);
    watch.write->setEnabled((what & CURL_POLL_OUT) != 0);
}

std::unique_ptr<QSocketNotifier> CurlTransfers::notifier(curl_socket_t socket, bool reads)
{
    auto made =
        std::make_unique<QSocketNotifier>(socket, reads ? QSocketNotifier::Read : QSocketNotifier::Write);
    // Queued: libcurl may let the socket go, and with it the notifier that is just telling.
    connect(
        made.get(), &QSocketNotifier::activated, this,
        [this, socket, reads] {
            if (m_watches.contains(socket)) {
                act(socket, reads ? CURL_CSELECT_IN : CURL_CSELECT_OUT);
            }
        },
        Qt::QueuedConnection);
    return made;
}

int CurlTransfers::setTimer(CURLM * /*multi*/, long milliseconds, void *self)
{
    QTimer &timer = static_cast<CurlTransfers *>(self)->m_timer;
    if (milliseconds < 0) {
        timer.stop();
    } else {
        timer.start(std::chrono::milliseconds(milliseconds));
    }
    return 0;
}

void CurlTransfers::act(curl_socket_t socket, int events)
{
    int running = 0;
    curl_multi_socket_action(m_multi, socket, events, &running);
    reportEnded();
}

void CurlTransfers::reportEnded()
{
    // Whoever is told may start and remove transfers, or destroy this.
    std::vector<std::pair<Ended, CURLcode>> reports;
    int waiting = 0;
    while (const CURLMsg *message = curl_multi_info_read(m_multi, &waiting)) {
        const CURLcode result = message->data.result;
        CURL *const transfer = message->easy_handle;
        reports.emplace_back(m_transfers.extract(transfer).mapped(), result);
        curl_multi_remove_handle(m_multi, transfer);
    }
    for (const auto &[ended, result] : reports) {
        ended(result);
    }
}

} // namespace kavrin

#include "Platform/Foundation/HTTP/CurlClient.h"

#include <algorithm>

namespace Marblewick {

std::unique_ptr<CurlClient> CurlClient::create()
{
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK)
        return nullptr;
    if (CURLM *multi = curl_multi_init())
        return std::unique_ptr<CurlClient>(new CurlClient(multi));
    curl_global_cleanup();
    return nullptr;
}

CurlClient::CurlClient(CURLM *multi)
    : m_multi(multi)
{ }

CurlClient::~CurlClient()
{
    while (!m_transfers.empty())
        remove(m_transfers.begin());
    curl_multi_cleanup(m_multi);
    curl_global_cleanup();
}

void CurlClient::start(const std::shared_ptr<HTTPTransfer> &transfer)
{
    m_transfers.push_back(std::make_unique<CurlTransfer>(transfer));
    curl_multi_add_handle(m_multi, m_transfers.back()->handle());
}

void CurlClient::stop(const std::shared_ptr<HTTPTransfer> &transfer)
{
    remove(std::ranges::find(m_transfers, transfer, &CurlTransfer::transfer));
}

CurlClient::Transfers::iterator CurlClient::remove(Transfers::iterator transfer)
{
    curl_multi_remove_handle(m_multi, (*transfer)->handle());
    return m_transfers.erase(transfer);
}

std::vector<HTTPClient::Result> CurlClient::run()
{
    constexpr int longestWait = 100; // milliseconds; how exactly silence is measured
    curl_multi_poll(m_multi, nullptr, 0, longestWait, nullptr);
    int running = 0;
    curl_multi_perform(m_multi, &running);
    std::vector<Result> results;
    collectFinished(&results);
    collectSilent(&results);
    return results;
}

void CurlClient::collectFinished(std::vector<Result> *results)
{
    int waiting = 0;
    while (const CURLMsg *message = curl_multi_info_read(m_multi, &waiting)) {
        const CURLcode code = message->data.result;
        const auto transfer = std::ranges::find(m_transfers, message->easy_handle, &CurlTransfer::handle);
        results->push_back({(*transfer)->transfer(), (*transfer)->outcome(code)});
        remove(transfer);
    }
}

void CurlClient::collectSilent(std::vector<Result> *results)
{
    for (auto transfer = m_transfers.begin(); transfer != m_transfers.end();) {
        if ((*transfer)->isSilentTooLong()) {
            results->push_back({(*transfer)->transfer(), (*transfer)->failure(NSURLErrorTimedOut)});
            transfer = remove(transfer);
        } else {
            ++transfer;
        }
    }
}

void CurlClient::wakeUp() { curl_multi_wakeup(m_multi); }

} // namespace Marblewick

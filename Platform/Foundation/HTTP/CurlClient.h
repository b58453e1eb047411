#pragma once

#include "Platform/Foundation/HTTP/CurlTransfer.h"

namespace Marblewick {

/*! The client as libcurl's multi handle. */
class CurlClient : public HTTPClient
{
public:
    /*! Null where libcurl cannot be set up. */
    static std::unique_ptr<CurlClient> create();
    ~CurlClient() override;
    CurlClient(const CurlClient &) = delete;
    CurlClient &operator=(const CurlClient &) = delete;

    void start(const std::shared_ptr<HTTPTransfer> &transfer) override;
    void stop(const std::shared_ptr<HTTPTransfer> &transfer) override;
    std::vector<Result> run() override;
    void wakeUp() override;

private:
    explicit CurlClient(CURLM *multi);

    using Transfers = std::vector<std::unique_ptr<CurlTransfer>>;
    Transfers::iterator remove(Transfers::iterator transfer);
    void collectFinished(std::vector<Result> *results);
    void collectSilent(std::vector<Result> *results);

    CURLM *const m_multi;
    Transfers m_transfers;
};

} // namespace Marblewick

#pragma once

#include "Platform/Foundation/HTTP/HTTPClient.h"

#include <chrono>
#include <curl/curl.h>

namespace Marblewick {

/*! A transfer as libcurl's easy handle. */
class CurlTransfer
{
public:
    explicit CurlTransfer(const std::shared_ptr<HTTPTransfer> &transfer);
    CurlTransfer(const CurlTransfer &) = delete;
    CurlTransfer &operator=(const CurlTransfer &) = delete;

    const std::shared_ptr<HTTPTransfer> &transfer() const { return m_transfer; }
    CURL *handle() const { return m_handle.get(); }

    /*! Whether nothing was sent or received for the request's time-out. To be called several times a second,
        as it is what looks.
    */
    bool isSilentTooLong();

    /*! The outcome of a transfer that libcurl ended. */
    HTTPOutcome outcome(CURLcode code) const;
    /*! The outcome of one that is ended by us. */
    HTTPOutcome failure(qint64 errorCode) const;

private:
    using Clock = std::chrono::steady_clock;

    void setAddress();
    void setMethodAndBody();
    void setHeaderFields();
    void setCallbacks();
    void addHeaderLine(const QByteArray &line);

    QUrl effectiveURL() const;
    qint64 errorCode(CURLcode code) const;
    quint64 bytesMoved() const;

    static size_t receive(char *bytes, size_t itemSize, size_t count, void *self);
    static size_t receiveHeaderLine(char *bytes, size_t itemSize, size_t count, void *self);
    static int checkSize(void *self, curl_off_t, curl_off_t downloaded, curl_off_t, curl_off_t);
    static curl_socket_t openSocket(void *self, curlsocktype purpose, curl_sockaddr *address);
    static int closeSocket(void *self, curl_socket_t socket);

    const std::shared_ptr<HTTPTransfer> m_transfer;
    const QByteArray m_body; // shares the request's bytes; libcurl reads them in place
    QByteArray m_received;
    bool m_isHeaderComplete = false;

    Clock::time_point m_lastActivity = Clock::now();
    quint64 m_bytesMoved = 0;
    std::vector<curl_socket_t> m_sockets;

    struct Free
    {
        void operator()(curl_slist *list) const { curl_slist_free_all(list); }
        void operator()(CURL *handle) const { curl_easy_cleanup(handle); }
    };
    std::unique_ptr<curl_slist, Free> m_headerLines;
    std::unique_ptr<CURL, Free> m_handle; // last, so that it goes first: it uses the rest
};

} // namespace Marblewick

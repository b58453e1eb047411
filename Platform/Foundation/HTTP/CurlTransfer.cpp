#include "Platform/Foundation/HTTP/CurlTransfer.h"

#include <algorithm>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr long maximumRedirects = 20;
constexpr qsizetype kibibyte = 1024;

} // namespace

CurlTransfer::CurlTransfer(const std::shared_ptr<HTTPTransfer> &transfer)
    : m_transfer(transfer)
    , m_body(transfer->request.HTTPBody())
    , m_handle(curl_easy_init())
{
    setAddress();
    setMethodAndBody();
    setHeaderFields();
    setCallbacks();
    // The process is the host's: no signal handlers, and no waiting for a name lookup that hangs.
    curl_easy_setopt(handle(), CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(handle(), CURLOPT_QUICK_EXIT, 1L);
}

void CurlTransfer::setAddress()
{
    const QUrl url = m_transfer->request.url();
    curl_easy_setopt(handle(), CURLOPT_URL, url.toEncoded().constData());
    curl_easy_setopt(handle(), CURLOPT_PATH_AS_IS, 1L);
    curl_easy_setopt(handle(), CURLOPT_PROTOCOLS_STR, "http,https");
    curl_easy_setopt(handle(), CURLOPT_REDIR_PROTOCOLS_STR,
                     url.scheme() == u"https"_s ? "https" : "http,https");
    curl_easy_setopt(handle(), CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(handle(), CURLOPT_MAXREDIRS, maximumRedirects);
    // On a connection of its own a request is never sent again because an old connection had gone dead.
    curl_easy_setopt(handle(), CURLOPT_HTTP_VERSION, long{CURL_HTTP_VERSION_1_1});
    curl_easy_setopt(handle(), CURLOPT_FRESH_CONNECT, 1L);
    curl_easy_setopt(handle(), CURLOPT_FORBID_REUSE, 1L);
}

void CurlTransfer::setMethodAndBody()
{
    const QByteArray method = m_transfer->request.HTTPMethod();
    if (method == "HEAD") {
        curl_easy_setopt(handle(), CURLOPT_NOBODY, 1L);
        return;
    }
    if (method == "POST" || !m_body.isEmpty()) {
        curl_easy_setopt(handle(), CURLOPT_POST, 1L);
        curl_easy_setopt(handle(), CURLOPT_POSTFIELDS, m_body.constData());
        curl_easy_setopt(handle(), CURLOPT_POSTFIELDSIZE_LARGE, curl_off_t{m_body.size()});
        // A large body goes in large pieces: fewer rounds, more bytes a second.
        curl_easy_setopt(handle(), CURLOPT_UPLOAD_BUFFERSIZE,
                         static_cast<long>(std::clamp(m_body.size(), 64 * kibibyte, 2048 * kibibyte)));
    }
    if (method != "POST" && (method != "GET" || !m_body.isEmpty()))
        curl_easy_setopt(handle(), CURLOPT_CUSTOMREQUEST, method.constData());
}

void CurlTransfer::setHeaderFields()
{
    // Fields that libcurl would add of its own accord; a field that the request sets follows and wins.
    const QMap<QString, QString> fields = m_transfer->request.allHTTPHeaderFields();
    for (QLatin1StringView uninvited : {"Accept"_L1, "Accept-Encoding"_L1, "Content-Type"_L1, "Expect"_L1}) {
        const bool isSet = std::ranges::any_of(fields.keys(), [uninvited](const QString &field) {
            return field.compare(uninvited, Qt::CaseInsensitive) == 0;
        });
        if (!isSet)
            addHeaderLine(QByteArray(uninvited.data()) + ':');
    }
    for (auto field = fields.begin(); field != fields.end(); ++field) {
        if (field.key().compare("Content-Length"_L1, Qt::CaseInsensitive) == 0)
            continue;
        const QByteArray value = field.value().trimmed().toUtf8();
        // libcurl's notation: "Name:" leaves a field out, "Name;" sends it empty.
        addHeaderLine(field.key().toUtf8() + (value.isEmpty() ? QByteArray(";") : ": " + value));
    }
    curl_easy_setopt(handle(), CURLOPT_HTTPHEADER, m_headerLines.get());
}

void CurlTransfer::addHeaderLine(const QByteArray &line)
{
    if (curl_slist *list = curl_slist_append(m_headerLines.get(), line.constData())) {
        [[maybe_unused]] curl_slist *sameList = m_headerLines.release();
        m_headerLines.reset(list);
    }
}

void CurlTransfer::setCallbacks()
{
    curl_easy_setopt(handle(), CURLOPT_WRITEFUNCTION, &CurlTransfer::receive);
    curl_easy_setopt(handle(), CURLOPT_WRITEDATA, this);
    curl_easy_setopt(handle(), CURLOPT_HEADERFUNCTION, &CurlTransfer::receiveHeaderLine);
    curl_easy_setopt(handle(), CURLOPT_HEADERDATA, this);
    curl_easy_setopt(handle(), CURLOPT_ACCEPT_ENCODING, ""); // decodes; the field itself is left out
    curl_easy_setopt(handle(), CURLOPT_SUPPRESS_CONNECT_HEADERS, 1L); // a proxy's header is not the answer's
    curl_easy_setopt(handle(), CURLOPT_MAXFILESIZE_LARGE, curl_off_t{m_transfer->maximumResponseSize});
    curl_easy_setopt(handle(), CURLOPT_NOPROGRESS, 0L);
    curl_easy_setopt(handle(), CURLOPT_XFERINFOFUNCTION, &CurlTransfer::checkSize);
    curl_easy_setopt(handle(), CURLOPT_XFERINFODATA, this);
    curl_easy_setopt(handle(), CURLOPT_OPENSOCKETFUNCTION, &CurlTransfer::openSocket);
    curl_easy_setopt(handle(), CURLOPT_OPENSOCKETDATA, this);
    curl_easy_setopt(handle(), CURLOPT_CLOSESOCKETFUNCTION, &CurlTransfer::closeSocket);
    curl_easy_setopt(handle(), CURLOPT_CLOSESOCKETDATA, this);
}

size_t CurlTransfer::receive(char *bytes, size_t itemSize, size_t count, void *self)
{
    const size_t size = itemSize * count;
    auto *transfer = static_cast<CurlTransfer *>(self);
    // A small answer can be large when it is decoded. Another result than the size ends the transfer.
    if (transfer->m_received.size() + static_cast<qsizetype>(size)
        > transfer->m_transfer->maximumResponseSize)
        return 0;
    transfer->m_received.append(bytes, static_cast<qsizetype>(size));
    return size;
}

size_t CurlTransfer::receiveHeaderLine(char *bytes, size_t itemSize, size_t count, void *self)
{
    const size_t size = itemSize * count;
    const QByteArrayView line(bytes, static_cast<qsizetype>(size));
    auto *transfer = static_cast<CurlTransfer *>(self);
    // A status line begins a header, also the one after an interim answer; a trailer comes without one.
    if (line.startsWith("HTTP/"))
        transfer->m_isHeaderComplete = false;
    else if (line == "\r\n" || line == "\n")
        transfer->m_isHeaderComplete = true;
    return size;
}

/*! Ends a transfer, by a result other than 0, whose body grows too large, be it that of a redirect. */
int CurlTransfer::checkSize(void *self, curl_off_t, curl_off_t downloaded, curl_off_t, curl_off_t)
{
    return downloaded > static_cast<CurlTransfer *>(self)->m_transfer->maximumResponseSize;
}

curl_socket_t CurlTransfer::openSocket(void *self, curlsocktype, curl_sockaddr *address)
{
    // A program that the host starts must not inherit it: the connection would outlive the transfer.
    const int socket = ::socket(address->family, address->socktype | SOCK_CLOEXEC, address->protocol);
    auto *transfer = static_cast<CurlTransfer *>(self);
    if (socket >= 0)
        transfer->m_sockets.push_back(socket);
    transfer->m_isHeaderComplete = false;
    return socket;
}

int CurlTransfer::closeSocket(void *self, curl_socket_t socket)
{
    std::erase(static_cast<CurlTransfer *>(self)->m_sockets, socket);
    return ::close(socket);
}

/*! Bytes that the other sides have acknowledged and that came from them. It is the system's count, because
    libcurl counts a byte as sent when it waits in the system's buffer, where on a slow line it can lie for
    longer than the time-out.
*/
quint64 CurlTransfer::bytesMoved() const
{
    quint64 bytes = 0;
    for (curl_socket_t socket : m_sockets) {
        tcp_info info{};
        socklen_t size = sizeof info;
        if (::getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0)
            bytes += info.tcpi_bytes_acked + info.tcpi_bytes_received;
    }
    return bytes;
}

bool CurlTransfer::isSilentTooLong()
{
    const Clock::time_point now = Clock::now();
    if (const quint64 bytes = bytesMoved(); bytes != m_bytesMoved) {
        m_bytesMoved = bytes;
        m_lastActivity = now;
    }
    return std::chrono::duration<double>(now - m_lastActivity).count()
           >= m_transfer->request.timeoutInterval();
}

QUrl CurlTransfer::effectiveURL() const
{
    const char *url = nullptr;
    curl_easy_getinfo(handle(), CURLINFO_EFFECTIVE_URL, &url);
    return QUrl::fromEncoded(url);
}

HTTPOutcome CurlTransfer::failure(qint64 errorCode) const { return {errorCode, {}, {effectiveURL()}, {}}; }

HTTPOutcome CurlTransfer::outcome(CURLcode code) const
{
    if (code == CURLE_OK && m_isHeaderComplete) {
        long status = 0;
        curl_easy_getinfo(handle(), CURLINFO_RESPONSE_CODE, &status);
        return {0, {}, {effectiveURL(), status}, m_received};
    }
    HTTPOutcome outcome = failure(errorCode(code));
    if (outcome.errorCode == NSURLErrorUnknown)
        outcome.reason = QString::fromUtf8(curl_easy_strerror(code));
    return outcome;
}

qint64 CurlTransfer::errorCode(CURLcode code) const
{
    switch (code) {
    case CURLE_URL_MALFORMAT:
        return NSURLErrorBadURL;
    case CURLE_UNSUPPORTED_PROTOCOL:
        // libcurl's word for a redirect to another scheme, and for an answer that does not look like HTTP.
        return m_isHeaderComplete ? NSURLErrorUnsupportedURL : NSURLErrorBadServerResponse;
    case CURLE_COULDNT_RESOLVE_HOST:
    case CURLE_COULDNT_RESOLVE_PROXY:
        return NSURLErrorCannotFindHost;
    case CURLE_COULDNT_CONNECT:
        return NSURLErrorCannotConnectToHost;
    case CURLE_OPERATION_TIMEDOUT:
        return NSURLErrorTimedOut;
    case CURLE_TOO_MANY_REDIRECTS:
        return NSURLErrorHTTPTooManyRedirects;
    case CURLE_OK: // closed within the header
    case CURLE_GOT_NOTHING:
    case CURLE_PARTIAL_FILE:
    case CURLE_SEND_ERROR:
    case CURLE_RECV_ERROR:
        return NSURLErrorNetworkConnectionLost;
    case CURLE_WEIRD_SERVER_REPLY:
        return NSURLErrorBadServerResponse;
    case CURLE_FILESIZE_EXCEEDED:
    case CURLE_ABORTED_BY_CALLBACK:
    case CURLE_WRITE_ERROR:
        return NSURLErrorDataLengthExceedsMaximum;
    case CURLE_BAD_CONTENT_ENCODING:
        return NSURLErrorCannotDecodeContentData;
    case CURLE_PEER_FAILED_VERIFICATION:
        return NSURLErrorServerCertificateUntrusted;
    case CURLE_SSL_CONNECT_ERROR:
    case CURLE_SSL_CERTPROBLEM:
    case CURLE_SSL_CIPHER:
    case CURLE_SSL_CACERT_BADFILE:
    case CURLE_SSL_ENGINE_INITFAILED:
    case CURLE_SSL_INVALIDCERTSTATUS:
    case CURLE_SSL_ISSUER_ERROR:
        return NSURLErrorSecureConnectionFailed;
    default:
        return NSURLErrorUnknown;
    }
}

} // namespace Marblewick

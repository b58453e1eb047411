#include "Platform/Foundation/NSURLError.h"

#include "Platform/Foundation/NSBundle.h"

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

QString sentence(qint64 code)
{
    switch (code) {
    case NSURLErrorCancelled:
        return u"The request was cancelled."_s;
    case NSURLErrorBadURL:
        return u"The address is malformed."_s;
    case NSURLErrorTimedOut:
        return u"The request timed out."_s;
    case NSURLErrorUnsupportedURL:
        return u"The address is not one of the web."_s;
    case NSURLErrorCannotFindHost:
        return u"No server with this name could be found."_s;
    case NSURLErrorCannotConnectToHost:
        return u"The server could not be reached."_s;
    case NSURLErrorNetworkConnectionLost:
        return u"The connection to the server was lost."_s;
    case NSURLErrorHTTPTooManyRedirects:
        return u"The server redirected the request too many times."_s;
    case NSURLErrorBadServerResponse:
    case NSURLErrorCannotDecodeContentData:
        return u"The server’s answer could not be understood."_s;
    case NSURLErrorDataLengthExceedsMaximum:
        return u"The server’s answer is too large."_s;
    case NSURLErrorSecureConnectionFailed:
        return u"A secure connection to the server could not be made."_s;
    case NSURLErrorServerCertificateUntrusted:
        return u"The server’s certificate is not trusted."_s;
    default:
        return u"The request failed for an unknown reason."_s;
    }
}

} // namespace

NSError errorWithURLErrorCode(qint64 code, const QUrl &url, const QString &reason)
{
    const QString description = reason.isEmpty()
                                    ? NSBundle::mainBundle()->localizedStringForKey(sentence(code))
                                    : reason;
    // Errors end up in logs, where passwords have no place.
    const QString failingURL = url.toString(QUrl::FullyEncoded | QUrl::RemoveUserInfo | QUrl::RemoveFragment);
    return NSError(
        NSURLErrorDomain, code,
        {{NSLocalizedDescriptionKey, description}, {NSURLErrorFailingURLStringErrorKey, failingURL}});
}

} // namespace Marblewick

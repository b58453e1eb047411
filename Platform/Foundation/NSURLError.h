#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>

#include <QUrl>

namespace Marblewick {

/*! User-info key of the URL (a string, without user name, password and fragment) that an error is about: the
    request's, or that of the redirect that failed.
*/
inline constexpr QLatin1StringView NSURLErrorFailingURLStringErrorKey("NSErrorFailingURLStringKey");

/*! Codes of NSURLErrorDomain. */
enum NSURLError : qint64 {
    NSURLErrorUnknown = -1, ///< anything else; the description is the reason that the system gave
    NSURLErrorCancelled = -999, ///< the task was cancelled
    NSURLErrorBadURL = -1000, ///< the URL is malformed
    NSURLErrorTimedOut = -1001, ///< nothing was sent or received for the request's time-out
    NSURLErrorUnsupportedURL = -1002, ///< no URL, or one that is neither http nor https
    NSURLErrorCannotFindHost = -1003, ///< the host's name does not resolve
    NSURLErrorCannotConnectToHost = -1004, ///< refused or unreachable
    NSURLErrorNetworkConnectionLost = -1005, ///< closed without an answer, or before its end
    NSURLErrorHTTPTooManyRedirects = -1007, ///< more than 20
    NSURLErrorBadServerResponse = -1011, ///< what came is not HTTP
    NSURLErrorCannotDecodeContentData = -1016, ///< what came is not in the content encoding that it names
    NSURLErrorDataLengthExceedsMaximum = -1103, ///< the answer is larger than the configuration allows
    NSURLErrorSecureConnectionFailed = -1200, ///< the TLS handshake failed
    NSURLErrorServerCertificateUntrusted = -1202, ///< no authority that the system trusts vouches for it
};

/*! The error of a code of NSURLErrorDomain, with its sentence in the host's language and the URL that failed.
    `reason`, where there is one, stands in for the sentence of an unknown error. Any thread.
*/
MARBLEWICK_CORE_EXPORT NSError errorWithURLErrorCode(qint64 code, const QUrl &url,
                                                     const QString &reason = {});

} // namespace Marblewick

#include "Platform/WebKit/QtWebEngine/NetworkError.h"

#include "Platform/Foundation/NSURLError.h"

namespace Marblewick {

qint64 urlErrorCode(int networkError)
{
    if (networkError <= -200 && networkError > -300) // all that can be wrong with a certificate
        return NSURLErrorServerCertificateUntrusted;
    switch (networkError) {
    case -3: // aborted
        return NSURLErrorCancelled;
    case -7: // timed out
    case -118: // connection timed out
        return NSURLErrorTimedOut;
    case -300: // invalid URL
        return NSURLErrorBadURL;
    case -301: // disallowed scheme
    case -302: // unknown scheme
    case -311: // redirect to a scheme that is not of the web
        return NSURLErrorUnsupportedURL;
    case -105: // name not resolved
    case -137: // name resolution failed
        return NSURLErrorCannotFindHost;
    case -102: // connection refused
    case -104: // connection failed
    case -106: // internet disconnected
    case -108: // address invalid
    case -109: // address unreachable
    case -130: // proxy connection failed
    case -312: // a port that is another service's
        return NSURLErrorCannotConnectToHost;
    case -21: // network changed
    case -100: // connection closed
    case -101: // connection reset
    case -324: // empty response
    case -354: // body shorter or longer than announced
    case -355: // chunked body without its end
        return NSURLErrorNetworkConnectionLost;
    case -310: // too many redirects
        return NSURLErrorHTTPTooManyRedirects;
    case -320: // invalid response
    case -330: // content decoding failed
    case -346: // several lengths
    case -350: // several locations
    case -370: // not HTTP
        return NSURLErrorBadServerResponse;
    case -107: // protocol error
    case -113: // version or cipher mismatch
        return NSURLErrorSecureConnectionFailed;
    default:
        return NSURLErrorUnknown;
    }
}

} // namespace Marblewick

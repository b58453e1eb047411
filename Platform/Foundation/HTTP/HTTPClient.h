#pragma once

#include "Platform/Foundation/HTTP/HTTPTransfer.h"
#include "Platform/Foundation/NSURLError.h"

#include <memory>
#include <vector>

namespace Marblewick {

/*! What became of a transfer. */
struct HTTPOutcome
{
    qint64 errorCode = NSURLErrorUnknown; ///< of NSURLErrorDomain; 0 for success
    QString reason; ///< for people, of an unknown error
    NSHTTPURLResponse response; ///< a failure sets the URL only
    QByteArray data;
};

/*! Carries transfers out, several at a time. Belongs to one thread, but for wakeUp(). Its destruction ends
    what is in flight.
*/
class HTTPClient
{
public:
    virtual ~HTTPClient() = default;

    /*! Begins a transfer, whose URL is http or https and has a host. */
    virtual void start(const std::shared_ptr<HTTPTransfer> &transfer) = 0;
    /*! Ends a transfer that was begun. */
    virtual void stop(const std::shared_ptr<HTTPTransfer> &transfer) = 0;

    struct Result
    {
        std::shared_ptr<HTTPTransfer> transfer;
        HTTPOutcome outcome;
    };
    /*! Waits until something can be sent or received, a tenth of a second has passed or wakeUp() is called,
        then sends and receives it. The transfers that have come to an end are returned and forgotten.
    */
    virtual std::vector<Result> run() = 0;
    /*! Makes run(), or the next call of it, wait no longer. Any thread. */
    virtual void wakeUp() = 0;
};

/*! The one function of the plugin "marblewick-http": a client that uses libcurl, or null where libcurl cannot
    be set up. The caller owns it.
*/
using MarblewickCreateHTTPClient = HTTPClient *(*)();

inline constexpr char marblewickCreateHTTPClientName[] = "marblewickCreateHTTPClient";

} // namespace Marblewick

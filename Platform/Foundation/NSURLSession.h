#pragma once

#include <Marblewick/MarblewickCoreExport.h>
#include <Marblewick/NSError.h>
#include <Marblewick/NSURLRequest.h>

#include <functional>
#include <memory>
#include <optional>

namespace Marblewick {

/*! The head of an answer. */
struct NSHTTPURLResponse
{
    QUrl url; ///< where the answer came from, after redirects
    qint64 statusCode = 0;
};

/*! How the tasks of a session behave. */
struct MARBLEWICK_CORE_EXPORT NSURLSessionConfiguration
{
    /*! No cookies, no cache and no stored credentials. It is the only kind there is. */
    static NSURLSessionConfiguration ephemeralSessionConfiguration();

    /*! Bytes of an answer's body, as sent and as decoded, after which the task fails with
     * NSURLErrorDataLengthExceedsMaximum. */
    qint64 maximumResponseSize = qint64{64} * 1024 * 1024;
};

/*! The outcome of a task: either an error, or a response with its data, which may be empty. */
using NSURLSessionCompletion = std::function<void(const std::optional<QByteArray> &data,
                                                  const std::optional<NSHTTPURLResponse> &response,
                                                  const std::optional<NSError> &error)>;

struct HTTPTransfer;

/*! One request. It runs from resume() until its completion was called, whether or not anybody keeps the task
    or its session. Any thread.
*/
class MARBLEWICK_CORE_EXPORT NSURLSessionDataTask
{
public:
    explicit NSURLSessionDataTask(std::shared_ptr<HTTPTransfer> transfer);

    /*! Starts the request; a second call does nothing. */
    void resume();
    /*! Ends the request: its completion receives NSURLErrorCancelled, also where it was never resumed. Does
        nothing once the outcome is settled.
    */
    void cancel();

private:
    std::shared_ptr<HTTPTransfer> m_transfer;
};

/*! Makes HTTP requests, http and https only, redirects included (at most 20; a request that began with https
    stays with https).

    Certificates are verified against the system's. A connection serves one request. A body is sent once, and
    again only where a redirect with status 307 or 308 asks for it; 301, 302 and 303 turn a POST into a GET.
    No content encoding is asked for; an answer that comes compressed nevertheless is decoded.
    The system's proxy variables (`https_proxy`, `no_proxy` …) are honoured.

    Completions run on a background thread that all sessions share, one after another, and are called exactly
    once. The thread starts, and the HTTP library is loaded, with the first task. When the application object
    is destroyed, or the process exits, what is in flight ends without completion, and a completion that is
    running is waited for: it must not wait for the main thread. A session can be used again with the next
    application object, and in a forked child, which inherits none of its parent's requests.
*/
class MARBLEWICK_CORE_EXPORT NSURLSession
{
public:
    static std::shared_ptr<NSURLSession> sessionWithConfiguration(
        const NSURLSessionConfiguration &configuration);

    /*! A task that is not yet running. `completion` must be callable; the task owns it and releases it, on
        the background thread, right after the call.
    */
    std::shared_ptr<NSURLSessionDataTask> dataTaskWithRequest(const NSURLRequest &request,
                                                              NSURLSessionCompletion completion);

    /*! The same for a plain GET, which ends after 60 seconds in which nothing moves. */
    std::shared_ptr<NSURLSessionDataTask> dataTaskWithURL(const QUrl &url, NSURLSessionCompletion completion);

private:
    explicit NSURLSession(const NSURLSessionConfiguration &configuration);

    const NSURLSessionConfiguration m_configuration;
};

} // namespace Marblewick

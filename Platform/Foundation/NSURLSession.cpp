#include "Platform/Foundation/NSURLSession.h"

#include "Platform/Foundation/HTTP/HTTPTransfer.h"
#include "Platform/Foundation/HTTP/HTTPWorker.h"

namespace Marblewick {

NSURLSessionConfiguration NSURLSessionConfiguration::ephemeralSessionConfiguration() { return {}; }

NSURLSessionDataTask::NSURLSessionDataTask(std::shared_ptr<HTTPTransfer> transfer)
    : m_transfer(std::move(transfer))
{ }

void NSURLSessionDataTask::resume() { HTTPWorker::shared().resume(m_transfer); }

void NSURLSessionDataTask::cancel() { HTTPWorker::shared().cancel(m_transfer); }

NSURLSession::NSURLSession(const NSURLSessionConfiguration &configuration)
    : m_configuration(configuration)
{ }

std::shared_ptr<NSURLSession> NSURLSession::sessionWithConfiguration(
    const NSURLSessionConfiguration &configuration)
{
    return std::shared_ptr<NSURLSession>(new NSURLSession(configuration));
}

std::shared_ptr<NSURLSessionDataTask> NSURLSession::dataTaskWithRequest(const NSURLRequest &request,
                                                                        NSURLSessionCompletion completion)
{
    auto transfer = std::make_shared<HTTPTransfer>(
        HTTPTransfer{request, m_configuration.maximumResponseSize, std::move(completion)});
    return std::make_shared<NSURLSessionDataTask>(std::move(transfer));
}

std::shared_ptr<NSURLSessionDataTask> NSURLSession::dataTaskWithURL(const QUrl &url,
                                                                    NSURLSessionCompletion completion)
{
    return dataTaskWithRequest(NSURLRequest(url), std::move(completion));
}

} // namespace Marblewick

#include "CrashReporter/MBWCrashReporter.h"

#include "Platform/Foundation/NSLog.h"
#include "Platform/Foundation/NSOperationQueue.h"
#include "Platform/Foundation/NSString.h"
#include "Platform/Foundation/NSURLSession.h"
#include "Utilities/MBWApplicationName.h"

#include <stdexcept>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr double timeoutInterval = 20.0; // seconds

constexpr QLatin1StringView boundary("0xKhTmLbOuNdArY");

/*! The form, with the fields `product` and `crashlog`. Nothing in it is escaped: the makers' servers find the
    parts of the crashlog field by the "###" line, not by the form's own rules.
*/
QByteArray formData(const std::optional<QString> &product, const std::optional<QString> &email,
                    const QString &description, const QString &report)
{
    QByteArray body = NSString::stringWithFormat(
                          u"--%@\r\nContent-Disposition: form-data; name=\"product\"\r\n\r\n%@\r\n"
                          u"--%@\r\nContent-Disposition: form-data; name=\"crashlog\"\r\n\r\n",
                          {boundary, product, boundary})
                          .toUtf8();
    body += NSString::stringWithFormat(u"Email: %@\r\nDescription: %@\r\n\r\n###\r\n\r\n",
                                       {email.value_or(u"NO EMAIL PROVIDED"_s), description})
                .toUtf8();
    body += report.toUtf8();
    body += NSString::stringWithFormat(u"\r\n--%@--\r\n", {boundary}).toUtf8();
    return body;
}

} // namespace

std::shared_ptr<NSURLSession> MBWCrashReporter::session()
{
    if (!m_session)
        m_session = NSURLSession::sessionWithConfiguration(
            NSURLSessionConfiguration::ephemeralSessionConfiguration());
    return m_session;
}

void MBWCrashReporter::sendCrashReport(
    const QString &report, const std::optional<QString> &email, const QString &description, const QUrl &url,
    std::function<void(const std::optional<NSError> &error)> completionHandler)
{
    if (!completionHandler)
        throw std::invalid_argument("MBWCrashReporter::sendCrashReport() needs a completion handler");

    const std::optional<QString> product = MBWApplicationName();
    NSURLRequest request(url, NSURLRequestUseProtocolCachePolicy, timeoutInterval);
    request.setHTTPMethod("POST");
    request.setValueForHTTPHeaderField(
        NSString::stringWithFormat(u"multipart/form-data; boundary=%@", {boundary}), u"Content-Type"_s);
    request.setValueForHTTPHeaderField(product, u"User-Agent"_s);
    request.setHTTPBody(formData(product, email, description, report));

    // The handler moves on to the main queue, so that what it owns is released on the main thread.
    m_currentTask = session()->dataTaskWithRequest(
        request, [handler = std::move(completionHandler)](const auto &, const auto &,
                                                          const std::optional<NSError> &error) mutable {
            if (error)
                NSLog(u"Failed to send crash report: %@", {error->description()});
            NSOperationQueue::mainQueue()->addOperationWithBlock(
                [handler = std::move(handler), error] { handler(error); });
        });
    m_currentTask->resume();
}

void MBWCrashReporter::cancel()
{
    if (m_currentTask)
        m_currentTask->cancel();
}

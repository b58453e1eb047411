#pragma once

#include <Marblewick/MarblewickCoreExport.h>

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QUrl>

#include <optional>

namespace Marblewick {

enum NSURLRequestCachePolicy : quint64 {
    NSURLRequestUseProtocolCachePolicy = 0, ///< what the protocol says; sessions here keep no cache
};

/*! A request as a value: address, method, header fields, body. Copies share the body's bytes. */
class MARBLEWICK_CORE_EXPORT NSURLRequest
{
public:
    /*! A GET. An invalid URL stands for nil: such a request fails with NSURLErrorUnsupportedURL.
        `timeoutInterval` is in seconds without any byte sent or received; 60 stands in for one that is not
        above zero.
    */
    explicit NSURLRequest(const QUrl &url,
                          NSURLRequestCachePolicy cachePolicy = NSURLRequestUseProtocolCachePolicy,
                          double timeoutInterval = 60);

    QUrl url() const { return m_url; }
    NSURLRequestCachePolicy cachePolicy() const { return m_cachePolicy; }
    double timeoutInterval() const { return m_timeoutInterval; }

    QByteArray HTTPMethod() const { return m_method; }
    /*! "GET", "POST" or another method, as it is sent. */
    void setHTTPMethod(const QByteArray &method) { m_method = method; }

    QByteArray HTTPBody() const { return m_body; }
    void setHTTPBody(const QByteArray &body) { m_body = body; }

    /*! Sets a header field, whose name counts without regard to case, or removes it where `value` is nil. An
        empty value is sent as an empty field. It travels as UTF-8; control characters, which could end the
        field and begin another, are left out.

        Nothing is sent that was not set, but for "Host" and "Content-Length". The latter is always the true
        one.
    */
    void setValueForHTTPHeaderField(const std::optional<QString> &value, const QString &field);
    QMap<QString, QString> allHTTPHeaderFields() const { return m_headerFields; }

private:
    QUrl m_url;
    NSURLRequestCachePolicy m_cachePolicy;
    double m_timeoutInterval;
    QByteArray m_method = "GET";
    QByteArray m_body;
    QMap<QString, QString> m_headerFields;
};

} // namespace Marblewick

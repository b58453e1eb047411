#include "Platform/Foundation/NSURLRequest.h"

namespace Marblewick {

namespace {

QString withoutControlCharacters(QString text)
{
    return text.removeIf([](QChar c) { return c.category() == QChar::Other_Control; });
}

} // namespace

NSURLRequest::NSURLRequest(const QUrl &url, NSURLRequestCachePolicy cachePolicy, double timeoutInterval)
    : m_url(url)
    , m_cachePolicy(cachePolicy)
    , m_timeoutInterval(timeoutInterval > 0 ? timeoutInterval : 60)
{ }

void NSURLRequest::setValueForHTTPHeaderField(const std::optional<QString> &value, const QString &field)
{
    const QString name = withoutControlCharacters(field);
    m_headerFields.removeIf([&name](const std::pair<const QString &, QString &> &item) {
        return item.first.compare(name, Qt::CaseInsensitive) == 0;
    });
    if (value && !name.isEmpty())
        m_headerFields.insert(name, withoutControlCharacters(*value));
}

} // namespace Marblewick

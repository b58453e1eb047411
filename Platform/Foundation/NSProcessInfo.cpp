#include "Platform/Foundation/NSProcessInfo.h"

#include "Platform/Foundation/NSFileManager.h"
#include "Platform/Foundation/NSString.h"

#include <atomic>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

std::atomic<const NSProcessInfo *> replacement;

/*! The text of a small file; nil where it cannot be read. */
std::optional<QString> textOfFile(const QString &path)
{
    constexpr qint64 maximumSize = 64 * 1024;
    return NSString::stringWithContentsOfFile(path, maximumSize);
}

/*! The value of a line `KEY=value`, which may be in quotation marks; the last one counts, as in a shell. */
QString valueInReleaseFile(const QString &text, QStringView key)
{
    QStringView value;
    for (const QStringView line : QStringView(text).tokenize(u'\n')) {
        if (line.startsWith(key) && line.sliced(key.size()).startsWith(u'='))
            value = line.sliced(key.size() + 1).trimmed();
    }
    const bool isQuoted = value.size() >= 2 && (value.front() == u'"' || value.front() == u'\'')
                          && value.back() == value.front();
    return (isQuoted ? value.sliced(1).chopped(1) : value).toString();
}

} // namespace

NSProcessInfo::NSProcessInfo(QString root)
    : m_root(std::move(root))
{ }

const NSProcessInfo *NSProcessInfo::processInfo()
{
    static const NSProcessInfo thisSystem;
    const NSProcessInfo *const other = replacement;
    return other ? other : &thisSystem;
}

void NSProcessInfo::setProcessInfo(const NSProcessInfo *processInfo) { replacement = processInfo; }

std::optional<NSOperatingSystemVersion> NSProcessInfo::operatingSystemVersion() const
{
    std::optional<QString> release = textOfFile(m_root + u"/etc/os-release"_s);
    if (!release)
        release = textOfFile(m_root + u"/usr/lib/os-release"_s);
    QString version = valueInReleaseFile(release.value_or(QString()), u"VERSION_ID");
    if (version.isEmpty() || version.front() < u'0' || version.front() > u'9')
        return std::nullopt;
    const QString debianVersion = textOfFile(m_root + u"/etc/debian_version"_s).value_or(QString());
    if (debianVersion.startsWith(version + u'.'))
        version = debianVersion;
    const QStringList parts = version.split(u'.');
    return NSOperatingSystemVersion{NSString::integerValue(parts.value(0)),
                                    NSString::integerValue(parts.value(1)),
                                    NSString::integerValue(parts.value(2))};
}

bool NSProcessInfo::isOperatingSystemAtLeastVersion(const NSOperatingSystemVersion &version) const
{
    const std::optional<NSOperatingSystemVersion> running = operatingSystemVersion();
    return !running || *running >= version;
}

} // namespace Marblewick

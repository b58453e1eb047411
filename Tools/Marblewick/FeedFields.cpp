#include "Tools/Marblewick/FeedFields.h"

#include <Marblewick/NSString.h>
#include <Marblewick/NSURL.h>
#include <Marblewick/NSWorkspace.h>

#include <QJsonDocument>
#include <QRegularExpression>

#include <array>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

/*! The fields in the order of the record. */
constexpr std::array keys{QLatin1StringView("productIdentifier"), QLatin1StringView("productName"),
                          QLatin1StringView("versionIdentifier"), QLatin1StringView("versionString"),
                          QLatin1StringView("directDownloadURL"), QLatin1StringView("productPageURL"),
                          QLatin1StringView("updateInfoURL"),     QLatin1StringView("appStoreURL"),
                          QLatin1StringView("systemVersion")};

constexpr QLatin1StringView versionIdentifierKey("versionIdentifier");
constexpr QLatin1StringView updateInfoURLKey("updateInfoURL");

/*! A field that is an object: T is QString or QUrl. */
template <typename T>
struct Field
{
    QLatin1StringView key;
    std::optional<T> (MBWSWUpdateInfo::*get)() const;
    void (MBWSWUpdateInfo::*set)(const std::optional<T> &);
};

constexpr std::array stringFields{
    Field<QString>{QLatin1StringView("productIdentifier"), &MBWSWUpdateInfo::productIdentifier,
                   &MBWSWUpdateInfo::setProductIdentifier},
    Field<QString>{QLatin1StringView("productName"), &MBWSWUpdateInfo::productName,
                   &MBWSWUpdateInfo::setProductName},
    Field<QString>{QLatin1StringView("versionString"), &MBWSWUpdateInfo::versionString,
                   &MBWSWUpdateInfo::setVersionString},
    Field<QString>{QLatin1StringView("systemVersion"), &MBWSWUpdateInfo::systemVersion,
                   &MBWSWUpdateInfo::setSystemVersion}};

constexpr std::array urlFields{
    Field<QUrl>{QLatin1StringView("directDownloadURL"), &MBWSWUpdateInfo::directDownloadURL,
                &MBWSWUpdateInfo::setDirectDownloadURL},
    Field<QUrl>{QLatin1StringView("productPageURL"), &MBWSWUpdateInfo::productPageURL,
                &MBWSWUpdateInfo::setProductPageURL},
    Field<QUrl>{updateInfoURLKey, &MBWSWUpdateInfo::updateInfoURL, &MBWSWUpdateInfo::setUpdateInfoURL},
    Field<QUrl>{QLatin1StringView("appStoreURL"), &MBWSWUpdateInfo::appStoreURL,
                &MBWSWUpdateInfo::setAppStoreURL}};

/*! A value as it stands in the file; the beginning of a long one. */
QString shown(const QJsonValue &value)
{
    constexpr int longest = 60;
    const QJsonObject wrapped{{u"v"_s, value}};
    const QString text = QString::fromUtf8(QJsonDocument(wrapped).toJson(QJsonDocument::Compact));
    const QString bare = text.sliced(5).chopped(1); // without {"v": and }
    return bare.size() <= longest ? bare : bare.first(longest) + u'…';
}

QString complaint(QLatin1StringView key, const QJsonValue &value, const QString &allowed)
{
    return u"“%1” is %2, but it has to be %3"_s.arg(key, shown(value), allowed);
}

std::optional<QString> setString(MBWSWUpdateInfo *record, const Field<QString> &field,
                                 const QJsonValue &value)
{
    if (!value.isString())
        return complaint(field.key, value, u"a string"_s);
    (record->*field.set)(value.toString());
    return std::nullopt;
}

/*! The release notes are shown in a window, the other pages by the user's own programs. */
std::optional<QString> setURL(MBWSWUpdateInfo *record, const Field<QUrl> &field, const QJsonValue &value)
{
    const std::optional<QUrl> url = value.isString() ? NSURL::URLWithString(value.toString()) : std::nullopt;
    const QString scheme = url ? url->scheme() : QString();
    const bool isWeb = scheme == u"https" || scheme == u"http";
    if (field.key == updateInfoURLKey && !isWeb)
        return complaint(field.key, value, u"a URL that begins with https:// or http://, as a string"_s);
    if (!NSWorkspace::opensScheme(scheme) || (isWeb && url->host().isEmpty()))
        return complaint(
            field.key, value,
            u"a URL with its scheme, as a string, such as \"https://example.com/a%20b\"; one that "
            "leads into the user's machine or holds a program, such as data, file and "
            "javascript, is never opened"_s);
    (record->*field.set)(url);
    return std::nullopt;
}

std::optional<QString> setVersionIdentifier(MBWSWUpdateInfo *record, const QJsonValue &value)
{
    if (value.toVariant().typeId() != QMetaType::LongLong) // A number out of range is a double.
        return complaint(versionIdentifierKey, value,
                         u"an integer from -9223372036854775808 to 9223372036854775807"_s);
    record->setVersionIdentifier(value.toInteger());
    return std::nullopt;
}

template <typename Fields>
auto fieldOfKey(const Fields &fields, const QString &key)
{
    return std::ranges::find_if(fields, [&](const auto &field) { return field.key == key; });
}

std::optional<QString> setField(MBWSWUpdateInfo *record, const QString &key, const QJsonValue &value)
{
    if (value.isNull())
        return std::nullopt;
    if (key == versionIdentifierKey)
        return setVersionIdentifier(record, value);
    if (const auto field = fieldOfKey(stringFields, key); field != stringFields.end())
        return setString(record, *field, value);
    if (const auto field = fieldOfKey(urlFields, key); field != urlFields.end())
        return setURL(record, *field, value);
    const QStringList names(keys.begin(), keys.end());
    return u"“%1” is no field of a feed; there are %2"_s.arg(key, names.join(u", "));
}

} // namespace

std::optional<QString> setFields(MBWSWUpdateInfo *record, const QJsonObject &members)
{
    for (auto member = members.begin(); member != members.end(); ++member) {
        if (const auto reason = setField(record, member.key(), member.value()))
            return reason;
    }
    if (!members.value(versionIdentifierKey).isDouble())
        return u"“versionIdentifier” is missing: it has to be the release's number, an integer, by which "
               "applications tell whether it is newer than they are"_s;
    return std::nullopt;
}

std::optional<QString> warningAboutSystemVersion(const MBWSWUpdateInfo &record)
{
    static const QRegularExpression wellFormed(u"^[0-9]+\\.[0-9]+(\\.[0-9]+)?$"_s);
    const auto version = record.systemVersion();
    if (!version || wellFormed.match(*version).hasMatch())
        return std::nullopt;
    return u"“systemVersion” is \"%1\", but only two or three numbers with dots between them, such as 12.5, "
           "say what they seem to: a single number holds the release back from no system, and anything else "
           "in "
           "a part counts as 0"_s.arg(*version);
}

QJsonObject jsonOfRecord(const MBWSWUpdateInfo &record)
{
    QJsonObject members{{versionIdentifierKey, record.versionIdentifier()}};
    for (const auto &field : stringFields) {
        if (const auto text = (record.*field.get)())
            members.insert(field.key, *text);
    }
    for (const auto &field : urlFields) {
        if (const auto url = (record.*field.get)())
            members.insert(field.key, url->toString(QUrl::FullyEncoded));
    }
    return members;
}

QString textOfRecord(const MBWSWUpdateInfo &record)
{
    constexpr int widest = 19; // versionIdentifier and two blanks
    const QJsonObject members = jsonOfRecord(record);
    QString text;
    for (const QLatin1StringView key : keys) {
        const QJsonValue value = members.value(key);
        const QString shownValue = value.isUndefined() ? u"(none)"_s : value.toVariant().toString();
        text += QString(key).leftJustified(widest) + NSString::escapingControlCharacters(shownValue) + u'\n';
    }
    return text;
}

#include "Platform/Foundation/NSKeyedUnarchiver.h"

#include "Platform/Foundation/KeyedArchive.h"
#include "Platform/Foundation/NSURL.h"
#include "Platform/Foundation/PropertyList/BinaryPropertyList.h"

#include <QVarLengthArray>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

using Object = BinaryPropertyList::Object;

/*! Many more than any archiver writes: the base of a URL seldom has a base itself. */
constexpr qsizetype maximumTextsOfURL = 16;

/*! The text of a URL, then those of its bases: mostly one. */
using TextsOfURL = QVarLengthArray<QString, 2>;

/*! Fields may share what they refer to, so that more is read than there is: up to this many times the size of
    the archive. A record whose eight strings and URLs have one text in common is below it.
*/
constexpr qsizetype maximumMultiple = 8;

/*! The URL of a text that is relative to the URL of the text behind it, and so on. */
std::optional<QUrl> urlOfTexts(const TextsOfURL &texts)
{
    QUrl url;
    for (auto text = texts.rbegin(); text != texts.rend(); ++text) {
        if (text->isEmpty()) { // the base itself
            url = url.adjusted(QUrl::RemoveFragment);
            continue;
        }
        const std::optional<QUrl> relative = NSURL::URLWithString(*text);
        if (!relative)
            return std::nullopt;
        url = url.resolved(*relative);
    }
    return url.isValid() ? std::optional(std::move(url)) : std::nullopt;
}

} // namespace

struct NSKeyedUnarchiver::Private
{
    QByteArray data; ///< what `list` reads
    BinaryPropertyList list;
    Object objects = BinaryPropertyList::noObject;
    Object current = BinaryPropertyList::noObject; ///< the object whose fields are being decoded
    qsizetype next = 0; ///< its entry behind the field that was read last
    qsizetype allowance = 0; ///< bytes that may still be read
    QString failure; ///< the first one, a sentence; empty before it

    /*! The first reason counts. Nothing can be read any more. */
    void fail(const QString &reason)
    {
        if (failure.isEmpty())
            failure = reason;
        current = BinaryPropertyList::noObject;
    }

    /*! Notes that an object is read. */
    void charge(Object object)
    {
        allowance -= list.byteCount(object);
        if (allowance < 0)
            fail(u"It refers to the same objects over and over."_s);
    }

    /*! What a field of the object that is being decoded holds. */
    Object fieldForKey(QLatin1StringView key)
    {
        return KeyedArchive::isReserved(key)
                   ? list.objectForKey(current, QLatin1StringView(KeyedArchive::escapedKey(key)), &next)
                   : list.objectForKey(current, key, &next);
    }

    /*! The UID that a field holds, that of nil for an absent field. */
    qint64 uidIn(Object field) const
    {
        return field == BinaryPropertyList::noObject ? KeyedArchive::nullUID : list.uid(field);
    }

    Object objectOfUID(qint64 uid) const
    {
        return uid > KeyedArchive::nullUID ? list.objectAtIndex(objects, uid) : BinaryPropertyList::noObject;
    }

    bool isOfClass(Object object, QLatin1StringView className);
    std::optional<QString> plainString(Object object);
    std::optional<QString> string(Object object);
    std::optional<TextsOfURL> textsOfURL(Object url);
};

/*! Whether an object's class is that one here, or derived from it here. What the archive says of its
    superclasses does not count.
*/
bool NSKeyedUnarchiver::Private::isOfClass(Object object, QLatin1StringView className)
{
    charge(object);
    const Object dictionary = objectOfUID(uidIn(list.objectForKey(object, KeyedArchive::classKey)));
    charge(dictionary);
    const Object name = list.objectForKey(dictionary, KeyedArchive::classNameKey);
    return list.isString(name, className)
           || (className == KeyedArchive::stringClass
               && list.isString(name, KeyedArchive::mutableStringClass));
}

std::optional<QString> NSKeyedUnarchiver::Private::plainString(Object object)
{
    charge(object);
    return failure.isEmpty() ? list.string(object) : std::nullopt;
}

/*! A string stands by itself, or in an object of a string class. */
std::optional<QString> NSKeyedUnarchiver::Private::string(Object object)
{
    if (auto text = plainString(object))
        return text;
    if (!isOfClass(object, KeyedArchive::stringClass))
        return std::nullopt;
    const Object field = list.objectForKey(object, KeyedArchive::stringKey);
    const qint64 uid = list.uid(field);
    return plainString(uid == BinaryPropertyList::noUID ? field : objectOfUID(uid));
}

/*! The text of a URL, then those of its bases. Nil where one of them is no URL object. */
std::optional<TextsOfURL> NSKeyedUnarchiver::Private::textsOfURL(Object url)
{
    TextsOfURL texts;
    for (;;) {
        if (texts.size() == maximumTextsOfURL || !isOfClass(url, KeyedArchive::urlClass))
            return std::nullopt;
        auto text = string(objectOfUID(uidIn(list.objectForKey(url, KeyedArchive::urlRelativeKey))));
        if (!text)
            return std::nullopt;
        texts.push_back(*std::move(text));
        const qint64 base = uidIn(list.objectForKey(url, KeyedArchive::urlBaseKey));
        if (base == KeyedArchive::nullUID)
            return texts;
        url = objectOfUID(base);
    }
}

NSKeyedUnarchiver::NSKeyedUnarchiver(const QByteArray &data)
    : d(std::make_unique<Private>())
{
    d->data = data;
    d->allowance = maximumMultiple * data.size();
    auto list = BinaryPropertyList::open(d->data);
    if (!list) {
        d->fail(u"It is not a property list in binary form."_s);
        return;
    }
    d->list = *std::move(list);
    const Object top = d->list.top();
    d->objects = d->list.objectForKey(top, KeyedArchive::objectsKey);
    const Object archiver = d->list.objectForKey(top, KeyedArchive::archiverKey);
    const Object version = d->list.objectForKey(top, KeyedArchive::versionKey);
    if (!d->list.isString(archiver, KeyedArchive::archiver)
        || d->list.integer(version) != KeyedArchive::version)
        d->fail(u"It is a property list, but not a keyed archive of the known version."_s);
}

NSKeyedUnarchiver::~NSKeyedUnarchiver() = default;

bool NSKeyedUnarchiver::enterRootOfClass(QLatin1StringView className)
{
    const Object top = d->list.objectForKey(d->list.top(), KeyedArchive::topKey);
    d->current = d->objectOfUID(d->uidIn(d->list.objectForKey(top, KeyedArchive::rootKey)));
    if (!d->isOfClass(d->current, className))
        d->fail(u"Its root is not an object of the class %1."_s.arg(className));
    return d->failure.isEmpty();
}

bool NSKeyedUnarchiver::isIntact(NSError *error) const
{
    if (d->failure.isEmpty())
        return true;
    if (error)
        *error = NSError(NSCocoaErrorDomain, NSCoderReadCorruptError,
                         {{NSLocalizedDescriptionKey, d->failure}});
    return false;
}

qint64 NSKeyedUnarchiver::decodeIntegerForKey(QLatin1StringView key)
{
    const Object field = d->fieldForKey(key);
    if (field == BinaryPropertyList::noObject || d->list.uid(field) == KeyedArchive::nullUID)
        return 0;
    if (const auto number = d->list.integer(field))
        return *number;
    if (const auto flag = d->list.boolean(field))
        return *flag ? 1 : 0;
    d->fail(u"Its field “%1” is not an integer of 64 bits."_s.arg(key));
    return 0;
}

std::optional<QString> NSKeyedUnarchiver::decodeString(QLatin1StringView key)
{
    const qint64 uid = d->uidIn(d->fieldForKey(key));
    if (uid == KeyedArchive::nullUID)
        return std::nullopt;
    const auto text = d->string(d->objectOfUID(uid));
    if (!text)
        d->fail(u"Its field “%1” is not a string."_s.arg(key));
    return text;
}

std::optional<QUrl> NSKeyedUnarchiver::decodeURL(QLatin1StringView key)
{
    const qint64 uid = d->uidIn(d->fieldForKey(key));
    if (uid == KeyedArchive::nullUID)
        return std::nullopt;
    const auto texts = d->textsOfURL(d->objectOfUID(uid));
    if (!texts)
        d->fail(u"Its field “%1” is not a URL."_s.arg(key));
    return texts ? urlOfTexts(*texts) : std::nullopt;
}

} // namespace Marblewick

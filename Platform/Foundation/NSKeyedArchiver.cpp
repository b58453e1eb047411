#include "Platform/Foundation/NSKeyedArchiver.h"

#include "Platform/Foundation/KeyedArchive.h"
#include "Platform/Foundation/PropertyList/BinaryPropertyListWriter.h"

#include <QHash>

#include <array>

using namespace Qt::StringLiterals;

namespace Marblewick {

using Object = BinaryPropertyListWriter::Object;
using Fields = std::vector<BinaryPropertyListWriter::Entry>;

struct NSKeyedArchiver::Private
{
    BinaryPropertyListWriter list;
    std::vector<Object> objects; ///< the flat array; an object's index in it is its UID
    QHash<QLatin1StringView, quint32> classes; ///< the UIDs of the classes that stand in it
    QHash<QByteArray, Object> keys; ///< those that stand in the list
    QLatin1StringView rootClass;
    Fields rootFields;

    /*! Gives the next UID away; an object's own comes before those of its fields. */
    quint32 nextUID(Object object = 0)
    {
        objects.push_back(object);
        return static_cast<quint32>(objects.size() - 1);
    }

    Object addASCII(QLatin1StringView text)
    {
        return list.addASCIIString(QByteArrayView(text.data(), text.size()));
    }

    BinaryPropertyListWriter::Entry entry(QLatin1StringView key, Object value)
    {
        const auto known = keys.constFind(QByteArray::fromRawData(key.data(), key.size()));
        if (known != keys.constEnd())
            return {*known, value};
        return {keys[QByteArray(key.data(), key.size())] = addASCII(key), value};
    }

    BinaryPropertyListWriter::Entry field(QLatin1StringView key, Object value)
    {
        return KeyedArchive::isReserved(key) ? entry(QLatin1StringView(KeyedArchive::escapedKey(key)), value)
                                             : entry(key, value);
    }

    quint32 uidOfClass(QLatin1StringView name)
    {
        const auto known = classes.constFind(name);
        if (known != classes.constEnd())
            return *known;
        const std::array chain{addASCII(name), addASCII(KeyedArchive::objectClass)};
        const std::array entries{entry(KeyedArchive::classesKey, list.addArray(chain)),
                                 entry(KeyedArchive::classNameKey, chain.front())};
        return classes[name] = nextUID(list.addDictionary(entries));
    }

    /*! Puts an object in its place, once its fields stand in theirs. */
    void finish(quint32 uid, QLatin1StringView className, Fields fields)
    {
        fields.push_back(entry(KeyedArchive::classKey, list.addUID(uidOfClass(className))));
        objects[uid] = list.addDictionary(fields);
    }
};

NSKeyedArchiver::NSKeyedArchiver(QLatin1StringView rootClassName)
    : d(std::make_unique<Private>())
{
    d->rootClass = rootClassName;
    d->nextUID(d->addASCII(KeyedArchive::null));
    d->nextUID(); // the root's
}

NSKeyedArchiver::~NSKeyedArchiver() = default;

void NSKeyedArchiver::encodeObject(const std::optional<QString> &string, QLatin1StringView key)
{
    if (string)
        d->rootFields.push_back(d->field(key, d->list.addUID(d->nextUID(d->list.addString(*string)))));
}

void NSKeyedArchiver::encodeObject(const std::optional<QUrl> &url, QLatin1StringView key)
{
    if (!url || !url->isValid())
        return;
    const quint32 uid = d->nextUID();
    const quint32 relative = d->nextUID(d->list.addASCIIString(url->toEncoded()));
    d->finish(uid, KeyedArchive::urlClass,
              {d->entry(KeyedArchive::urlBaseKey, d->list.addUID(KeyedArchive::nullUID)),
               d->entry(KeyedArchive::urlRelativeKey, d->list.addUID(relative))});
    d->rootFields.push_back(d->field(key, d->list.addUID(uid)));
}

void NSKeyedArchiver::encodeInteger(qint64 number, QLatin1StringView key)
{
    d->rootFields.push_back(d->field(key, d->list.addInteger(number)));
}

QByteArray NSKeyedArchiver::encodedData()
{
    constexpr quint32 rootUID = 1;
    d->finish(rootUID, d->rootClass, d->rootFields);
    const std::array root{d->entry(KeyedArchive::rootKey, d->list.addUID(rootUID))};
    const std::array top{d->entry(KeyedArchive::archiverKey, d->addASCII(KeyedArchive::archiver)),
                         d->entry(KeyedArchive::objectsKey, d->list.addArray(d->objects)),
                         d->entry(KeyedArchive::topKey, d->list.addDictionary(root)),
                         d->entry(KeyedArchive::versionKey, d->list.addInteger(KeyedArchive::version))};
    return d->list.data(d->list.addDictionary(top));
}

} // namespace Marblewick

#include "Platform/Foundation/PropertyList/PropertyListPlugin.h"

#include <QDateTime>
#include <QVariantMap>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <plist/plist.h>

using namespace Qt::StringLiterals;

namespace {

struct FreePlist
{
    void operator()(void *node) const { plist_free(node); }
};

struct FreeMemory
{
    void operator()(char *memory) const { std::free(memory); }
};

QVariant value(plist_t node);

QString string(plist_t node)
{
    uint64_t length = 0;
    const char *text = plist_get_string_ptr(node, &length);
    return QString::fromUtf8(text, static_cast<qsizetype>(length));
}

QVariant integer(plist_t node)
{
    uint64_t number = 0;
    plist_get_uint_val(node, &number);
    return static_cast<qint64>(number);
}

QVariant dictionary(plist_t node)
{
    QVariantMap map;
    plist_dict_iter position = nullptr;
    plist_dict_new_iter(node, &position);
    const std::unique_ptr<char, FreeMemory> owner(static_cast<char *>(position));
    for (;;) {
        char *key = nullptr;
        plist_t item = nullptr;
        plist_dict_next_item(node, position, &key, &item);
        const std::unique_ptr<char, FreeMemory> keyOwner(key);
        if (!item)
            return map;
        map.insert(QString::fromUtf8(key), value(item));
    }
}

QVariant array(plist_t node)
{
    QVariantList list;
    for (uint32_t i = 0; i < plist_array_get_size(node); ++i)
        list.append(value(plist_array_get_item(node, i)));
    return list;
}

QVariant value(plist_t node)
{
    switch (plist_get_node_type(node)) {
    case PLIST_STRING:
        return string(node);
    case PLIST_BOOLEAN: {
        uint8_t flag = 0;
        plist_get_bool_val(node, &flag);
        return flag != 0;
    }
    case PLIST_UINT:
        return integer(node);
    case PLIST_REAL: {
        double number = 0;
        plist_get_real_val(node, &number);
        return number;
    }
    case PLIST_DATE: {
        int32_t seconds = 0; // since 2001-01-01 00:00:00 UTC
        int32_t microseconds = 0;
        plist_get_date_val(node, &seconds, &microseconds);
        constexpr qint64 referenceDate = 978307200;
        return QDateTime::fromMSecsSinceEpoch((referenceDate + seconds) * 1000 + microseconds / 1000,
                                              Qt::UTC);
    }
    case PLIST_DATA: {
        uint64_t length = 0;
        const char *bytes = plist_get_data_ptr(node, &length);
        return QByteArray(bytes, static_cast<qsizetype>(length));
    }
    case PLIST_ARRAY:
        return array(node);
    case PLIST_DICT:
        return dictionary(node);
    default:
        return {};
    }
}

} // namespace

extern "C" Q_DECL_EXPORT bool marblewickReadPropertyList(const QByteArray &data, QVariant *root,
                                                         QString *reason);

bool marblewickReadPropertyList(const QByteArray &data, QVariant *root, QString *reason)
{
    plist_t parsed = nullptr;
    if (data.size() <= UINT32_MAX)
        plist_from_memory(data.constData(), static_cast<uint32_t>(data.size()), &parsed);
    const std::unique_ptr<void, FreePlist> owner(parsed);
    if (!parsed) {
        *reason = u"It is not a property list in XML or binary form."_s;
        return false;
    }
    *root = value(parsed);
    return true;
}

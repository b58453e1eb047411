#include "Platform/Foundation/Bookmarks/Bookmark.h"

#include "Platform/Foundation/NSURL+Bookmarks.h"

#include <QtEndian>

#include <climits>

using namespace Qt::StringLiterals;

namespace Marblewick {

namespace {

constexpr QByteArrayView magic("MBWB");
constexpr quint8 currentVersion = 1;
constexpr qsizetype maximumSize = 65536;
constexpr qsizetype headSize = 5; // magic and version
constexpr qsizetype checksumSize = 8;

enum class Tag : quint8 { Path = 1, Base = 2, Scope = 3, Item = 4, Folder = 5 };

/*! FNV-1a. A change of a single byte always changes it. */
quint64 checksum(QByteArrayView bytes)
{
    quint64 sum = 0xcbf29ce484222325;
    for (const char byte : bytes)
        sum = (sum ^ static_cast<quint8>(byte)) * 0x100000001b3;
    return sum;
}

template <typename Number>
void append(QByteArray *bytes, Number number)
{
    const Number ordered = qToBigEndian(number);
    bytes->append(reinterpret_cast<const char *>(&ordered), sizeof ordered);
}

/*! Takes a number from the beginning of the bytes; false where they are too few. */
template <typename Number>
bool take(QByteArrayView *bytes, Number *number)
{
    if (bytes->size() < qsizetype(sizeof(Number)))
        return false;
    *number = qFromBigEndian<Number>(bytes->data());
    *bytes = bytes->sliced(sizeof(Number));
    return true;
}

void appendRecord(QByteArray *bytes, Tag tag, QByteArrayView value)
{
    append(bytes, static_cast<quint8>(tag));
    append(bytes, static_cast<quint16>(value.size()));
    bytes->append(value);
}

QByteArray encoded(const ItemIdentity &identity)
{
    QByteArray bytes;
    append(&bytes, identity.fileSystem);
    append(&bytes, identity.number);
    append(&bytes, identity.kind);
    append(&bytes, identity.birthSeconds);
    append(&bytes, identity.birthNanoseconds);
    return bytes += identity.handle;
}

bool decode(QByteArrayView bytes, std::optional<ItemIdentity> *result)
{
    ItemIdentity identity;
    if (!take(&bytes, &identity.fileSystem) || !take(&bytes, &identity.number)
        || !take(&bytes, &identity.kind) || !take(&bytes, &identity.birthSeconds)
        || !take(&bytes, &identity.birthNanoseconds))
        return false;
    identity.handle = bytes.toByteArray();
    *result = identity;
    return true;
}

bool decodeBase(QByteArrayView bytes, Bookmark *bookmark)
{
    quint8 kind = 0;
    quint16 length = 0;
    if (!take(&bytes, &kind) || !take(&bytes, &length) || !bytes.isEmpty()
        || (kind != quint8(Bookmark::Base::Home) && kind != quint8(Bookmark::Base::Documents)))
        return false;
    bookmark->base = Bookmark::Base(kind);
    bookmark->baseLength = length;
    return true;
}

bool decodeScope(QByteArrayView bytes, Bookmark *bookmark)
{
    quint8 scope = 0;
    if (!take(&bytes, &scope) || !bytes.isEmpty() || scope > quint8(Bookmark::Scope::ReadOnly))
        return false;
    bookmark->scope = Bookmark::Scope(scope);
    return true;
}

bool decodeRecord(quint8 tag, QByteArrayView value, Bookmark *bookmark)
{
    switch (Tag(tag)) {
    case Tag::Path:
        bookmark->path = value.toByteArray();
        return true;
    case Tag::Base:
        return decodeBase(value, bookmark);
    case Tag::Scope:
        return decodeScope(value, bookmark);
    case Tag::Item:
        return decode(value, &bookmark->item);
    case Tag::Folder:
        return decode(value, &bookmark->folder);
    }
    return true; // What a later version adds beside it.
}

bool decodeRecords(QByteArrayView records, Bookmark *bookmark)
{
    while (!records.isEmpty()) {
        quint8 tag = 0;
        quint16 length = 0;
        if (!take(&records, &tag) || !take(&records, &length) || records.size() < length
            || !decodeRecord(tag, records.first(length), bookmark))
            return false;
        records = records.sliced(length);
    }
    return true;
}

bool isAbsolute(const QByteArray &path)
{
    return path.startsWith('/') && (path.size() == 1 || !path.endsWith('/')) && !path.contains('\0')
           && path.size() < PATH_MAX;
}

/*! Whether a base is a folder above or at the item, and what is needed to find the item is there. */
bool isComplete(const Bookmark &bookmark)
{
    if (!isAbsolute(bookmark.path))
        return false;
    if (bookmark.baseLength > bookmark.path.size()
        || (bookmark.baseLength < bookmark.path.size() && bookmark.path[bookmark.baseLength] != '/'))
        return false;
    return bookmark.base == Bookmark::Base::Documents ? bookmark.baseLength > 0
                                                      : bookmark.item && bookmark.folder;
}

} // namespace

QByteArray Bookmark::data() const
{
    QByteArray bytes;
    bytes.reserve(path.size() + 256); // identities are about 50 bytes each
    bytes += magic;
    append(&bytes, currentVersion);
    appendRecord(&bytes, Tag::Path, path);
    if (base != Base::None) {
        QByteArray value;
        append(&value, static_cast<quint8>(base));
        append(&value, static_cast<quint16>(baseLength));
        appendRecord(&bytes, Tag::Base, value);
    }
    const char mode = static_cast<char>(scope);
    appendRecord(&bytes, Tag::Scope, QByteArrayView(&mode, 1));
    if (item)
        appendRecord(&bytes, Tag::Item, encoded(*item));
    if (folder)
        appendRecord(&bytes, Tag::Folder, encoded(*folder));
    append(&bytes, checksum(bytes));
    return bytes;
}

std::optional<Bookmark> Bookmark::fromData(const QByteArray &data, NSError *error)
{
    const auto fail = [error](NSFileError code, const QString &sentence) {
        if (error)
            *error = NSError(NSCocoaErrorDomain, code, {{NSLocalizedDescriptionKey, sentence}});
        return std::nullopt;
    };
    const auto damaged = [&] {
        return fail(NSFileReadCorruptFileError, u"The bookmark is damaged, or is none."_s);
    };
    if (data.size() < headSize + checksumSize || data.size() > maximumSize || !data.startsWith(magic))
        return damaged();
    QByteArrayView contents = QByteArrayView(data).chopped(checksumSize);
    if (checksum(contents) != qFromBigEndian<quint64>(data.constData() + contents.size()))
        return damaged();
    const auto version = quint8(data[magic.size()]);
    if (version == 0)
        return damaged();
    if (version > currentVersion)
        return fail(NSFeatureUnsupportedError, u"A newer version of this software made the bookmark."_s);
    Bookmark bookmark;
    if (!decodeRecords(contents.sliced(headSize), &bookmark) || !isComplete(bookmark))
        return damaged();
    return bookmark;
}

} // namespace Marblewick

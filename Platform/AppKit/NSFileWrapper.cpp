#include "Platform/AppKit/NSFileWrapper.h"

#include "Platform/Foundation/NSFileHandle.h"
#include "Platform/Foundation/NSPathUtilities.h"

#include <QtEndian>

#include <algorithm>

namespace Marblewick {

namespace {

using Take = std::function<void(QByteArrayView)>;

constexpr quint64 sizeOfTag = 1;
constexpr quint64 sizeOfNumber = 8;

const NSFileManager &manager() { return *NSFileManager::defaultManager(); }

quint64 sizeOf(const QByteArray &bytes) { return static_cast<quint64>(bytes.size()); }

void takeNumber(quint64 number, const Take &take)
{
    const quint64 bytes = qToBigEndian(number);
    take(QByteArrayView(reinterpret_cast<const char *>(&bytes), sizeOfNumber));
}

void takeBytes(const QByteArray &bytes, const Take &take)
{
    takeNumber(sizeOf(bytes), take);
    take(bytes);
}

QString pathBelow(const QString &folder, const QByteArray &name)
{
    return stringByAppendingPathComponent(folder, NSFileManager::stringWithFileSystemRepresentation(name));
}

bool takeContents(const QString &path, quint64 size, const Take &take)
{
    const auto file = NSFileHandle::fileHandleForReadingAtPath(path);
    const auto length = static_cast<qint64>(size);
    return file && file->readUpToLength(length, take) == length;
}

} // namespace

std::optional<NSFileWrapper> NSFileWrapper::initWithPath(const QString &path)
{
    const auto attributes = manager().attributesOfResolvedItemAtPath(path);
    if (!attributes || attributes->type == NSFileType::Other)
        return std::nullopt;
    NSFileWrapper top;
    top.m_path = path;
    top.m_type = attributes->type;
    top.m_size = static_cast<quint64>(attributes->size);
    if (top.m_type == NSFileType::Directory && !top.readDirectory(path))
        return std::nullopt;
    return top;
}

bool NSFileWrapper::readDirectory(const QString &path)
{
    QByteArrayList names;
    if (!manager().enumerateContentsOfDirectoryAtPath(
            path, [&](QByteArrayView name) { names.append(name.toByteArray()); }))
        return false;
    std::ranges::sort(names);
    for (const QByteArray &name : names) {
        const QString itemPath = pathBelow(path, name);
        const auto attributes = manager().attributesOfItemAtPath(itemPath);
        if (!attributes)
            return false;
        if (attributes->type == NSFileType::Other)
            continue;
        NSFileWrapper &item = m_items.emplace_back();
        item.m_type = attributes->type;
        item.m_name = name;
        item.m_size = static_cast<quint64>(attributes->size);
        if (item.m_type == NSFileType::Directory && !item.readDirectory(itemPath))
            return false;
        if (item.m_type == NSFileType::SymbolicLink) {
            const auto destination = manager().destinationOfSymbolicLinkAtPath(itemPath);
            if (!destination)
                return false;
            item.m_destination = NSFileManager::fileSystemRepresentationWithPath(*destination);
        }
    }
    return true;
}

quint64 NSFileWrapper::serializedSize() const
{
    quint64 size = sizeOfTag + sizeOfNumber;
    if (m_type == NSFileType::Regular)
        size += m_size;
    size += sizeOf(m_destination);
    for (const NSFileWrapper &item : m_items)
        size += sizeOfNumber + sizeOf(item.m_name) + item.serializedSize();
    return size;
}

bool NSFileWrapper::serializedRepresentation(const Take &take) const { return serialize(m_path, take); }

bool NSFileWrapper::serialize(const QString &path, const Take &take) const
{
    switch (m_type) {
    case NSFileType::Regular:
        take("f");
        takeNumber(m_size, take);
        return takeContents(path, m_size, take);
    case NSFileType::SymbolicLink:
        take("l");
        takeBytes(m_destination, take);
        return true;
    default:
        take("d");
        takeNumber(m_items.size(), take);
        return std::ranges::all_of(m_items, [&](const NSFileWrapper &item) {
            takeBytes(item.m_name, take);
            return item.serialize(pathBelow(path, item.m_name), take);
        });
    }
}

} // namespace Marblewick

#include "Utilities/FileChecksums.h"

#include "Platform/AppKit/NSFileWrapper.h"
#include "Platform/AppKit/NSWorkspace.h"
#include "Platform/CommonCrypto/CommonDigest.h"
#include "Platform/Foundation/NSFileHandle.h"
#include "Platform/Foundation/NSPathUtilities.h"
#include "Utilities/NSData+MBWExtensions.h"

#include <algorithm>
#include <limits>

using namespace Marblewick;

namespace {

/*! The digest that SHA1Digest() would give for all the bytes at once, of which it counts the size in 32 bits.
 */
class SHA1OfPieces
{
public:
    explicit SHA1OfPieces(quint64 size)
        : m_missing(static_cast<quint32>(size))
    {
        CC_SHA1_Init(&m_context);
    }

    /*! How many bytes enter. */
    quint32 missing() const { return m_missing; }

    void append(QByteArrayView piece)
    {
        const auto length = static_cast<quint32>(qMin<qint64>(piece.size(), m_missing));
        CC_SHA1_Update(&m_context, piece.data(), length);
        m_missing -= length;
    }

    QByteArray digest()
    {
        QByteArray result(CC_SHA1_DIGEST_LENGTH, Qt::Uninitialized);
        CC_SHA1_Final(reinterpret_cast<unsigned char *>(result.data()), &m_context);
        return result;
    }

private:
    CC_SHA1_CTX m_context;
    quint32 m_missing;
};

QByteArray checksumOfFile(const QString &path)
{
    const auto file = NSFileHandle::fileHandleForReadingAtPath(path);
    if (!file)
        return {};
    // A file of /proc says 0 and is read to its end.
    SHA1OfPieces sha1(file->size() > 0 ? static_cast<quint64>(file->size())
                                       : std::numeric_limits<quint32>::max());
    const auto count = file->readUpToLength(sha1.missing(),
                                            [&](QByteArrayView piece) { sha1.append(piece); });
    return count ? sha1.digest() : QByteArray();
}

QByteArray checksumOfPackage(const QString &path)
{
    const auto wrapper = NSFileWrapper::initWithPath(path);
    if (!wrapper)
        return {};
    SHA1OfPieces sha1(wrapper->serializedSize());
    const bool isComplete = wrapper->serializedRepresentation(
        [&](QByteArrayView piece) { sha1.append(piece); });
    return isComplete ? sha1.digest() : QByteArray();
}

} // namespace

FileChecksums::FileChecksums(const NSFileManager *manager)
    : m_manager(manager)
{ }

QByteArray FileChecksums::checksumOfItemAtPath(const QString &path)
{
    const auto attributes = m_manager->attributesOfResolvedItemAtPath(path);
    if (!attributes)
        return {};
    const Item *const item = addItem(path, *attributes);
    // No recursion: links lead from folder to folder as often as they like, the stack would end before.
    while (!m_openFolders.empty()) {
        if (!m_openFolders.back().names.isEmpty()) {
            addNextEntry();
            continue;
        }
        Item *const folder = m_openFolders.back().item;
        QByteArray checksums;
        appendChecksums(*folder, &checksums);
        folder->checksum = MBWExtensions::SHA1Digest(checksums);
        m_openFolders.pop_back();
    }
    return item->checksum;
}

FileChecksums::Item *FileChecksums::addItem(const QString &path, const NSFileAttributes &attributes)
{
    const auto [found,
                isNew] = m_items.try_emplace(Identity(attributes.systemNumber, attributes.systemFileNumber));
    Item *const item = &found->second;
    if (!isNew)
        return item;
    if (attributes.type == NSFileType::Regular)
        item->checksum = checksumOfFile(path);
    else if (attributes.type == NSFileType::Directory)
        addFolder(path, item);
    return item;
}

void FileChecksums::addFolder(const QString &path, Item *folder)
{
    if (NSWorkspace::sharedWorkspace()->isFilePackageAtPath(path)) {
        folder->checksum = checksumOfPackage(path);
        return;
    }
    // Listed to the end: a folder kept open at each depth would use up the process's files.
    QByteArrayList names;
    m_manager->enumerateContentsOfDirectoryAtPath(path, [&](QByteArrayView name) {
        if (!name.startsWith('.'))
            names.append(name.toByteArray());
    });
    std::ranges::reverse(names);
    m_openFolders.push_back({stringByResolvingSymlinksInPath(path), folder, names});
}

void FileChecksums::addNextEntry()
{
    OpenFolder &open = m_openFolders.back();
    Item *const folder = open.item;
    const QString path = stringByAppendingPathComponent(
        open.path, NSFileManager::stringWithFileSystemRepresentation(open.names.takeLast()));
    auto attributes = m_manager->attributesOfItemAtPath(path);
    const bool isLink = attributes && attributes->type == NSFileType::SymbolicLink;
    if (isLink)
        attributes = m_manager->attributesOfResolvedItemAtPath(path);
    if (!attributes)
        return;
    const size_t depth = m_openFolders.size();
    const Item *const item = addItem(path, *attributes);
    // A mount may show a folder inside itself: what was open before is not descended into either.
    const bool wasOpen = item->checksum.isEmpty() && m_openFolders.size() == depth;
    folder->entries.push_back({item, !isLink && !wasOpen});
}

void FileChecksums::appendChecksums(const Item &folder, QByteArray *checksums)
{
    for (const Entry &entry : folder.entries) {
        *checksums += entry.item->checksum;
        if (entry.isDescendedInto)
            appendChecksums(*entry.item, checksums);
    }
}

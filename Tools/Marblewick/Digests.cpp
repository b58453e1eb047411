#include "Tools/Marblewick/Digests.h"

#include "Tools/Marblewick/Console.h"

#include <Marblewick/CommonDigest.h>
#include <Marblewick/CommonHMAC.h>
#include <Marblewick/NSFileManager+MBWExtensions.h>
#include <Marblewick/NSFileManager.h>

#include <algorithm>
#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

using FileNames = std::vector<std::string>;

/*! The digest of a file; nil, with a complaint, where there is none. */
using DigestOfFile = std::function<std::optional<QByteArray>(const std::string &fileName)>;

unsigned char *bytesOf(QByteArray &digest) { return reinterpret_cast<unsigned char *>(digest.data()); }

// The digests of whole buffers would hold a file in memory, and count its bytes modulo 2^32.

std::optional<QByteArray> sha1Digest(const std::string &fileName)
{
    CC_SHA1_CTX context;
    CC_SHA1_Init(&context);
    const bool isRead = readInput(fileName, [&context](QByteArrayView piece) {
        CC_SHA1_Update(&context, piece.data(), static_cast<CC_LONG>(piece.size()));
        return true;
    });
    QByteArray digest(CC_SHA1_DIGEST_LENGTH, '\0');
    CC_SHA1_Final(bytesOf(digest), &context);
    return isRead ? std::optional(digest) : std::nullopt;
}

std::optional<QByteArray> sha256Digest(const std::string &fileName)
{
    CC_SHA256_CTX context;
    CC_SHA256_Init(&context);
    const bool isRead = readInput(fileName, [&context](QByteArrayView piece) {
        CC_SHA256_Update(&context, piece.data(), static_cast<CC_LONG>(piece.size()));
        return true;
    });
    QByteArray digest(CC_SHA256_DIGEST_LENGTH, '\0');
    CC_SHA256_Final(bytesOf(digest), &context);
    return isRead ? std::optional(digest) : std::nullopt;
}

DigestOfFile sha256HMAC(const QByteArray &key)
{
    return [key](const std::string &fileName) {
        CCHmacContext context;
        CCHmacInit(&context, kCCHmacAlgSHA256, key.constData(), static_cast<size_t>(key.size()));
        const bool isRead = readInput(fileName, [&context](QByteArrayView piece) {
            CCHmacUpdate(&context, piece.data(), static_cast<size_t>(piece.size()));
            return true;
        });
        QByteArray digest(CC_SHA256_DIGEST_LENGTH, '\0');
        CCHmacFinal(&context, bytesOf(digest));
        return isRead ? std::optional(digest) : std::nullopt;
    };
}

std::optional<QByteArray> checksumOfPath(const std::string &path)
{
    const QString pathString = NSFileManager::stringWithFileSystemRepresentation(path);
    const auto *const files = NSFileManager::defaultManager();
    const std::optional<QByteArray> checksum = MBWExtensions::checksumForFileAtPath(files, pathString);
    if (!checksum)
        complainAbout(path, u"no checksum: it is missing, cannot be read, or is no file or folder"_s);
    return checksum;
}

bool printDigests(const FileNames &fileNames, const DigestOfFile &digest)
{
    bool isDone = true;
    for (const std::string &fileName : fileNames) {
        const std::optional<QByteArray> result = digest(fileName);
        if (result)
            printDigest(*result, fileName);
        else
            isDone = false;
    }
    return isDone;
}

bool printHMACs(const FileNames &fileNames, const std::string &keyFile)
{
    constexpr qsizetype maximumKeySize = 1024 * 1024;
    const std::optional<QByteArray> key = readWholeInput(keyFile, maximumKeySize);
    return key && printDigests(fileNames, sha256HMAC(*key));
}

/*! Adds the files that a digest is made of, by default standard input. */
std::shared_ptr<FileNames> addInputs(CLI::App *command)
{
    const auto files = std::make_shared<FileNames>(1, "-");
    addFiles(command, "FILE", "Files; \"-\" or none is standard input", files.get())
        ->allow_extra_args()
        ->expected(1, -1);
    return files;
}

void addHMACCommand(CLI::App *digest, Action *action)
{
    CLI::App *const command = digest->add_subcommand("hmac", "HMAC-SHA-256 under a key");
    const std::shared_ptr<FileNames> files = addInputs(command);
    const auto keyFile = std::make_shared<std::string>();
    addFile(command, "--key-file", "File whose bytes are the key, up to 1 MiB; \"-\" is standard input",
            keyFile.get())
        ->type_name("FILE")
        ->required();
    command->callback([=] {
        if (*keyFile == "-" && std::ranges::find(*files, "-") != files->end())
            throw CLI::ValidationError("--key-file", "standard input is the key, and cannot be FILE as well");
        *action = [=] { return printHMACs(*files, *keyFile); };
    });
}

} // namespace

void addDigestCommands(CLI::App *app, Action *action)
{
    CLI::App *const digest = app->add_subcommand("digest", "Digests of files or of standard input");
    digest->require_subcommand(1);
    const auto add = [=](const std::string &name, const std::string &description,
                         const DigestOfFile &digestOfFile) {
        CLI::App *const command = digest->add_subcommand(name, description);
        command->callback([=, files = addInputs(command)] {
            *action = [=] { return printDigests(*files, digestOfFile); };
        });
    };
    add("sha1", "SHA-1, in lines as those of sha1sum", sha1Digest);
    add("sha256", "SHA-256, in lines as those of sha256sum", sha256Digest);
    addHMACCommand(digest, action);
}

void addChecksumCommand(CLI::App *app, Action *action)
{
    CLI::App *const command = app->add_subcommand("checksum",
                                                  "Checksums of files, folders and file packages");
    const auto paths = std::make_shared<FileNames>();
    addFiles(command, "PATH", "Files, folders or file packages", paths.get())
        ->allow_extra_args()
        ->expected(1, -1)
        ->required();
    command->callback([=] { *action = [=] { return printDigests(*paths, checksumOfPath); }; });
}

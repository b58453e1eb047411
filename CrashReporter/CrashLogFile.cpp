#include "CrashReporter/CrashLogFile.h"

#include "CrashReporter/FixedText.h"
#include "CrashReporter/LocalTime.h"
#include "CrashReporter/StandardStreams.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/*! Makes the folders above the last component, and that one. Whether it worked shows when it is opened. */
void makeFolders(const char *path)
{
    char part[PATH_MAX];
    FixedText(part).append(path);
    for (char *slash = std::strchr(part + 1, '/'); slash; slash = std::strchr(slash + 1, '/')) {
        *slash = '\0';
        ::mkdir(part, S_IRWXU);
        *slash = '/';
    }
    ::mkdir(part, S_IRWXU);
}

} // namespace

CrashLogNames::CrashLogNames(const CrashRecord &record)
{
    FixedText(temporary)
        .append(".marblewick-crash-")
        .append(record.process)
        .append("-")
        .append(record.crashTime.tv_sec)
        .append("-")
        .append(record.crashTime.tv_nsec);

    FixedText name(log);
    name.append(std::string_view(record.applicationName).substr(0, crashLogNameLength));
    std::replace(log, log + name.view().size(), '/', crashLogSlash);
    char date[32];
    name.append("_").append(localDateForFileName(record.crashTime, record.secondsEastOfUTC, date));
    name.append("_").append(record.process).append(".ips");
}

CrashLogFile::CrashLogFile(const CrashRecord &record)
    : m_record(record)
    , m_names(record)
{ }

CrashLogFile::~CrashLogFile()
{
    if (m_descriptor >= 0) {
        ::unlinkat(m_folder, m_names.temporary, 0);
        ::close(m_descriptor);
    }
    if (m_folder >= 0)
        ::close(m_folder);
}

int CrashLogFile::openFolder() const
{
    constexpr int flags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
    const int folder = ::open(m_record.folder, flags);
    if (folder >= 0 || errno != ENOENT)
        return folder;
    makeFolders(m_record.folder);
    return ::open(m_record.folder, flags);
}

bool CrashLogFile::create()
{
    m_folder = openFolder();
    if (m_folder < 0)
        return false;
    constexpr int flags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
    const FilledStandardStreams filled;
    m_descriptor = aboveStandardStreams(::openat(m_folder, m_names.temporary, flags, S_IRUSR | S_IWUSR));
    return m_descriptor >= 0 && ::fchmod(m_descriptor, S_IRUSR | S_IWUSR) == 0; // whatever the umask
}

bool CrashLogFile::complete()
{
    if (::fsync(m_descriptor) != 0 || ::renameat(m_folder, m_names.temporary, m_folder, m_names.log) != 0)
        return false;
    ::close(m_descriptor);
    m_descriptor = -1;
    ::fsync(m_folder); // The log is whole even where the folder cannot be taken to the disk.
    return true;
}

bool CrashLogFile::exists() const
{
    char path[PATH_MAX];
    FixedText(path).append(m_record.folder).append("/").append(m_names.log);
    return ::access(path, F_OK) == 0;
}

void CrashLogFile::removeUnfinished() const
{
    char path[PATH_MAX];
    FixedText(path).append(m_record.folder).append("/").append(m_names.temporary);
    ::unlink(path);
}

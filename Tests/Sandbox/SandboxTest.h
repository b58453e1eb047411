#pragma once

#include <Marblewick/MBWSandboxManager.h>
#include <Marblewick/MBWSandboxPersistedBookmark.h>
#include <Marblewick/NSURL+Bookmarks.h>
#include <Marblewick/NSURL.h>

#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/TemporaryHome.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QTemporaryDir>

#include <optional>
#include <string>
#include <vector>

/*! The manager of a host: the tests say what its overrides answer. */
class HostManager : public MBWSandboxManager
{
public:
    static inline std::optional<QUrl> store;
    static inline QList<QUrl> additionalFolders;

    std::optional<QUrl> storeFileURL() const override { return store; }
    QList<QUrl> additionalEntitledDirectoryURLs() const override { return additionalFolders; }

    using MBWSandboxManager::saveStoreFile;
};

/*! The system's scope, which it asks, with what it was asked for; it can also refuse. */
class RecordingScope : public Marblewick::NSSecurityScope
{
public:
    RecordingScope() { setCurrent(this); }
    ~RecordingScope() override { setCurrent(systemScope()); }
    RecordingScope(const RecordingScope &) = delete;
    RecordingScope &operator=(const RecordingScope &) = delete;

    bool startAccessing(const QUrl &url, bool isReadOnly) override
    {
        started.append(url);
        startedReadOnly.append(isReadOnly);
        return !isRefusing && systemScope()->startAccessing(url, isReadOnly);
    }
    void stopAccessing(const QUrl &url) override
    {
        stopped.append(url);
        systemScope()->stopAccessing(url);
    }

    bool isRefusing = false;
    QList<QUrl> started;
    QList<bool> startedReadOnly;
    QList<QUrl> stopped;
};

/*! A record as it is in the store. */
struct StoredBookmark
{
    std::string path; ///< of what was granted
    bool isDirectory = false;
    bool isReadOnly = false;

    friend bool operator==(const StoredBookmark &, const StoredBookmark &) = default;
};
std::ostream &operator<<(std::ostream &out, const StoredBookmark &bookmark);

/*! A host with a home folder, in which its store lies, and files of the user's outside it. */
class SandboxTest : public ::testing::Test
{
protected:
    SandboxTest();

    QString path(const QString &name) const { return m_outside.filePath(name); }
    QUrl url(const QString &name) const { return QUrl::fromLocalFile(path(name)); }
    /*! The URL of a new file or folder outside the home folder. */
    QUrl newFile(const QString &name) const;
    QUrl newFolder(const QString &name) const;

    QString storePath() const { return home.dataFolder() + QStringLiteral("/Grants.store"); }
    /*! What is in the store, for somebody else who opens it. */
    std::vector<StoredBookmark> storedBookmarks() const;

    /*! The shared manager, which the first call makes. */
    static MBWSandboxManager *manager() { return MBWSandboxManager::sharedManager<HostManager>(); }
    /*! A manager as another launch has one: it knows what is in the store. */
    static std::unique_ptr<HostManager> nextLaunch() { return MBWSandboxManager::init<HostManager>(); }
    /*! The records that a manager works with. */
    static QList<MBWSandboxPersistedBookmark *> records(MBWSandboxManager *manager);

private:
    const QTemporaryDir m_outside; // made before TMPDIR leads into the home folder

protected:
    const TemporaryHome home;
};

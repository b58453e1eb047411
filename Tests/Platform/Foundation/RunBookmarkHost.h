#pragma once

#include "Tests/Support/DocumentsPortal.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <memory>

/*! A host of the documents portal: a process that makes, resolves and starts bookmarks when it is told to. */
class RunningBookmarkHost
{
public:
    explicit RunningBookmarkHost(const QStringList &command)
        : m_program(command)
    { }
    ~RunningBookmarkHost();
    RunningBookmarkHost(const RunningBookmarkHost &) = delete;
    RunningBookmarkHost &operator=(const RunningBookmarkHost &) = delete;

    /*! Tells it a command, and waits for the answer. */
    QString answer(const QString &command);
    bool start(const QString &url) { return answer(QStringLiteral("start ") + url) == QStringLiteral("yes"); }
    bool isReachable(const QString &url)
    {
        return answer(QStringLiteral("reachable ") + url) == QStringLiteral("yes");
    }

private:
    ChildProgram m_program;
    qsizetype m_answered = 0; ///< bytes of its output
};

/*! A portal and hosts of it, in a sandbox or not. */
class DocumentsPortalTest : public testing::Test
{
protected:
    void SetUp() override;

    /*! Starts the host, anew where one is running. */
    void launch();
    /*! Writes a file in the user's home and grants it. */
    QString grantedFile(const QString &name, const QStringList &permissions = readWrite);
    /*! The URL of a document for the host. */
    QString url(const QString &document, const QString &path) const;
    /*! Makes a bookmark and starts it in a host that was launched anew; whether that is granted. */
    bool startsAfterRelaunch(const QString &url, const QString &bookmarkCommand = QStringLiteral("bookmark"));

    static inline const QStringList readWrite{QStringLiteral("read"), QStringLiteral("write")};

    bool isInSandbox = true;
    QString program = QStringLiteral("BookmarkHost");
    std::unique_ptr<DocumentsPortal> portal;
    std::unique_ptr<RunningBookmarkHost> host;
};

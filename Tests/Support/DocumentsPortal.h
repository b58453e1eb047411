#pragma once

#include "Tests/Support/ChildProgram.h"

#include <QDBusConnection>
#include <QString>
#include <QStringList>

#include <optional>

/*! A real documents portal, with a home folder and a message bus of its own, until destruction. */
class DocumentsPortal
{
public:
    /*! The machine lets nobody show a file system of his own, which the portal has to. */
    static bool isImpossible();

    DocumentsPortal();
    ~DocumentsPortal();
    DocumentsPortal(const DocumentsPortal &) = delete;
    DocumentsPortal &operator=(const DocumentsPortal &) = delete;

    QString home() const { return m_folder + QStringLiteral("/home"); }
    QString runtimeFolder() const { return m_folder + QStringLiteral("/run"); }
    /*! The application that the sandbox is of. */
    static QString applicationIdentifier() { return QStringLiteral("org.example.Cartographer"); }

    /*! Grants the application a file or a folder for good, as an open panel does. Returns the identifier of
       the document. Permissions are "read" and "write".
    */
    QString add(const QString &path, const QStringList &permissions);
    /*! Takes permissions back from the application. */
    void revoke(const QString &document, const QStringList &permissions);
    /*! Takes the document away from everybody. */
    void remove(const QString &document);

    /*! The portal answers nobody any more, and does again. */
    void stop() { command("stop"); }
    void resume() { command("continue"); }
    /*! The portal ends, as with the user's session, and starts again. */
    void end() { command("end"); }
    void start() { command("start"); }

    /*! The user's bus. */
    QDBusConnection bus() const { return m_bus; }

    /*! The command that runs a program of the build tree for the user of this portal. */
    QStringList commandOutside(const QString &program) const;
    /*! The same in a sandbox that looks like Flatpak's from within: the program sees its documents, its own
       home folder and the folder `shared` in the user's home but for `covered` in that, which are made here,
       and nothing else of the user's.
    */
    QStringList commandInSandbox(const QString &program) const;
    /*! The file that describes the sandbox of the last such command to the program. */
    QString sandboxInfo() const { return m_folder + QStringLiteral("/flatpak-info"); }

private:
    void command(const QByteArray &name);
    void call(const QString &method, const QVariantList &arguments, QVariantList *results = nullptr);

    ChildProgram m_session;
    QByteArray m_expectedOutput;
    QString m_folder;
    QDBusConnection m_bus{QString()};
};

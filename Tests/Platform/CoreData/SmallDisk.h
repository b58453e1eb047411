#pragma once

#include <QString>
#include <QTemporaryDir>

/*! A file system of 256 KiB that only this process sees, until its end. */
class SmallDisk
{
public:
    SmallDisk();

    /*! False where the system lets nobody mount. */
    bool isThere() const { return m_isThere; }
    QString path() const { return m_folder.path(); }

    /*! Takes all of the space that is left. */
    void fill() const;
    /*! Gives it back. */
    void free() const;

private:
    QString filler() const { return path() + QStringLiteral("/filler"); }

    QTemporaryDir m_folder;
    bool m_isThere = false;
};

#pragma once

#include <QString>
#include <QTemporaryFile>

/*! Sends standard error to a file, from construction to destruction. */
class CapturedStandardError
{
public:
    CapturedStandardError();
    ~CapturedStandardError();
    CapturedStandardError(const CapturedStandardError &) = delete;
    CapturedStandardError &operator=(const CapturedStandardError &) = delete;

    /*! What was written so far. */
    QString text() const;

private:
    QTemporaryFile m_file;
    int m_original = -1;
};

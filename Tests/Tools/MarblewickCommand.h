#pragma once

#include <gtest/gtest.h>

#include <QTemporaryDir>

#include <string>

/*! The command as it is used: by scripts, in a folder of the user's. */
class MarblewickCommand : public testing::Test
{
protected:
    struct Result
    {
        int status;
        std::string output;
        std::string errors; ///< standard error
    };

    QString filePath(const QString &name) const { return m_folder.filePath(name); }

    Result run(const QString &script);
    /*! The output of a script that must be a success, without errors. */
    std::string output(const QString &script);

private:
    const QTemporaryDir m_folder;
};

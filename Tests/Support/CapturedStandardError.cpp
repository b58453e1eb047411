#include "Tests/Support/CapturedStandardError.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <unistd.h>

CapturedStandardError::CapturedStandardError()
{
    EXPECT_TRUE(m_file.open());
    std::fflush(stderr);
    m_original = ::dup(STDERR_FILENO);
    EXPECT_GE(::dup2(m_file.handle(), STDERR_FILENO), 0);
}

CapturedStandardError::~CapturedStandardError()
{
    std::fflush(stderr);
    ::dup2(m_original, STDERR_FILENO);
    ::close(m_original);
}

QString CapturedStandardError::text() const
{
    std::fflush(stderr);
    QFile file(m_file.fileName());
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QString::fromUtf8(file.readAll());
}

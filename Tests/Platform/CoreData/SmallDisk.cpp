#include "Tests/Platform/CoreData/SmallDisk.h"

#include "Tests/Support/MountNamespace.h"

#include <gtest/gtest.h>

#include <QFile>

#include <sys/mount.h>

using namespace Qt::StringLiterals;

SmallDisk::SmallDisk()
{
    m_isThere = enterMountNamespace() && ::mount("small", qPrintable(path()), "tmpfs", 0, "size=256k") == 0;
    m_folder.setAutoRemove(false);
}

void SmallDisk::fill() const
{
    QFile file(filler());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Unbuffered));
    while (file.write(QByteArray(4096, 'x')) == 4096) { }
}

void SmallDisk::free() const { EXPECT_TRUE(QFile::remove(filler())); }

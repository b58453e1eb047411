#include "Tests/Support/FakeMachine.h"

#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>

#include <unistd.h>

using namespace Qt::StringLiterals;

FakeMachine::FakeMachine() { EXPECT_TRUE(QDir(m_folder.path()).mkpath(u"class/net"_s)); }

void FakeMachine::add(const FakeInterface &interface)
{
    const QByteArray device = "devices/" + (interface.device.isEmpty() ? "virtual" : interface.device);
    const QByteArray folder = device + "/net/" + interface.name;
    setAttribute(folder + "/type", interface.type);
    setAttribute(folder + "/address", interface.address);
    setAttribute(folder + "/addr_assign_type", interface.addressType);
    setAttribute(folder + "/uevent", (interface.kind.isEmpty() ? "" : "DEVTYPE=" + interface.kind + '\n')
                                         + "INTERFACE=" + interface.name + "\nIFINDEX=2");
    if (!interface.device.isEmpty()) {
        setAttribute("bus/" + interface.bus + "/uevent", "");
        link(device + "/subsystem", "bus/" + interface.bus);
        link(folder + "/device", device);
    }
    link("class/net/" + interface.name, folder);
}

void FakeMachine::setAttribute(const QByteArray &path, const QByteArray &value)
{
    writeFile(QString::fromUtf8(root() + '/' + path), value + '\n');
}

void FakeMachine::link(const QByteArray &path, const QByteArray &target)
{
    const QByteArray absolute = root() + '/' + path;
    if (QFile::exists(QString::fromUtf8(absolute)))
        return; // Several interfaces share a device.
    EXPECT_EQ(::symlink((root() + '/' + target).constData(), absolute.constData()), 0);
}

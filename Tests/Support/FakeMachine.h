#pragma once

#include <QByteArray>
#include <QTemporaryDir>

/*! A network interface as the kernel describes one; plain wired Ethernet where nothing else is said. */
struct FakeInterface
{
    QByteArray name = "eth0";
    QByteArray device = "pci0000:00/0000:00:1f.6"; ///< its place in the machine; empty for none
    QByteArray bus = "pci"; ///< what the device hangs on
    QByteArray type = "1"; ///< hardware type; 1 is Ethernet
    QByteArray kind = {}; ///< special kind, such as "wlan"
    QByteArray address = "02:1b:0c:9f:4e:05"; ///< in use now
    QByteArray addressType = "0"; ///< 0: permanent, 1: random, 3: set by hand
};

/*! A folder that describes network hardware as `/sys` does, until destruction. */
class FakeMachine
{
public:
    FakeMachine();

    QByteArray root() const { return m_folder.path().toUtf8(); }
    void add(const FakeInterface &interface);
    /*! Writes a file of the description. */
    void setAttribute(const QByteArray &path, const QByteArray &value);

private:
    void link(const QByteArray &path, const QByteArray &target);

    QTemporaryDir m_folder;
};

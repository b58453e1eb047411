#pragma once

#include "Tests/Support/TemporaryHome.h"

#include <Marblewick/MBWAboutPanel.h>
#include <Marblewick/NSBundle.h>

#include <QTest>
#include <QTextBrowser>

/*! A host in a temporary folder, with its information properties and resources. */
class AboutPanelHost
{
public:
    /*! Writes the entries of its property list, in XML. */
    void setProperties(const QByteArray &entries) const
    {
        writeResource(QStringLiteral("Info.plist"),
                      "<plist version=\"1.0\"><dict>" + entries + "</dict></plist>");
    }
    void writeResource(const QString &name, const QByteArray &contents) const
    {
        writeFile(path(name), contents);
    }
    QString path(const QString &name) const { return m_home.path() + QStringLiteral("/bin/") + name; }
    QString folder() const { return m_home.path(); }
    const Marblewick::NSBundle *bundle() const { return &m_bundle; }

private:
    const TemporaryHome m_home;
    const Marblewick::NSBundle m_bundle{path(QStringLiteral("cartographer"))};
};

/*! An entry with a text. */
inline QByteArray entry(const QByteArray &key, const QByteArray &value)
{
    return "<key>" + key + "</key><string>" + value + "</string>";
}

/*! Waits until a panel that is shown is drawn with its credits, which follow its first picture. */
inline bool waitForPictureWithCredits(MBWAboutPanel &panel)
{
    return QTest::qWaitForWindowExposed(panel.window()) && QTest::qWaitFor([&] {
               const QTextBrowser *const view = panel.creditsView();
               return view->isHidden() || view->document()->pageSize().width() > 0;
           });
}

#pragma once

#include "Tests/Support/TemporaryHome.h"
#include "Tests/Support/WebPages.h"

#include <Marblewick/MBWSWUpdateInfo.h>
#include <Marblewick/MBWUpdateNotificationPanel.h>
#include <Marblewick/NSUserDefaults.h>
#include <Marblewick/NSWorkspace.h>
#include <Marblewick/WKWebView.h>

#include <gtest/gtest.h>

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QStackedWidget>
#include <QTest>

/*! A panel, pages for it to show, and a desktop that notes what it is to open. */
class UpdatePanelTest : public ::testing::Test
{
protected:
    UpdatePanelTest()
    {
        QCoreApplication::setApplicationName(QStringLiteral("Cartographer"));
        QCoreApplication::setApplicationVersion(QStringLiteral("4.1"));
        Marblewick::NSWorkspace::sharedWorkspace()->setURLOpener([this](const QUrl &url) {
            opened.append(url);
            return true;
        });
        info->setProductName(QStringLiteral("Cartographer"));
        info->setVersionString(QStringLiteral("4.2"));
        info->setVersionIdentifier(420);
        info->setUpdateInfoURL(pages.url(QStringLiteral("/notes")));
        info->setDirectDownloadURL(QUrl(QStringLiteral("https://example.com/cartographer.tar.xz")));
        info->setProductPageURL(QUrl(QStringLiteral("https://example.com/cartographer")));
        info->setAppStoreURL(QUrl(QStringLiteral("appstream://com.example.cartographer")));
    }

    bool isSkipped() const { return defaults()->integerForKey(MBWLastSWUpdateVersionKey) == 420; }
    bool isUntouched() const { return !defaults()->contains(MBWLastSWUpdateVersionKey); }
    static Marblewick::NSUserDefaults *defaults()
    {
        return Marblewick::NSUserDefaults::standardUserDefaults();
    }

    QWidget *content() const { return panel.contentBox()->currentWidget(); }
    bool isShown() { return panel.window()->isVisible(); }
    QPushButton *button(const char *name)
    {
        return panel.window()->findChild<QPushButton *>(QString::fromLatin1(name));
    }
    QString text(const char *label)
    {
        return panel.window()->findChild<QLabel *>(QString::fromLatin1(label))->text();
    }
    void press(const char *name) { QTest::mouseClick(button(name), Qt::LeftButton); }

    /*! Shows the panel with these rows as release notes, and waits until they are on the screen. */
    void showNotes(const QStringList &rows)
    {
        pages.add(QStringLiteral("/notes"), rows);
        panel.showWindowForUpdateInfo(info);
        ASSERT_TRUE(pages.isDrawn(QStringLiteral("/notes")));
        ASSERT_EQ(content(), panel.webContainerView());
    }
    void click(int row) { WebPages::click(panel.webView(), row); }

    /*! Shows the panel for notes that do not come, and waits until it says so. */
    void showUnavailableNotes(const std::optional<QUrl> &url)
    {
        info->setUpdateInfoURL(url);
        panel.showWindowForUpdateInfo(info);
        ASSERT_TRUE(WebPages::waitFor([&] { return content() == panel.errorView(); }));
    }

    const TemporaryHome home;
    WebPages pages;
    QList<QUrl> opened;
    const std::shared_ptr<MBWSWUpdateInfo> info = std::make_shared<MBWSWUpdateInfo>();
    MBWUpdateNotificationPanel panel;
};

#pragma once

#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/NSAttributedString.h>
#include <Marblewick/NSBundle.h>
#include <Marblewick/NSWindowController.h>

#include <QUrl>
#include <QVariantMap>

#include <memory>
#include <optional>

class QTextBrowser;

namespace Ui {
class AboutPanel;
}

/*! The host's About window: icon, name, version, copyright, credits, and a button for its web site.

    A host shows it from its menu, and otherwise provides what it shows: information properties and the
   resource `Credits.rtf`.

        connect(aboutAction, &QAction::triggered, [] { MBWAboutPanel::sharedAboutPanel()->showWindow(); });

    Information properties: `CFBundleShortVersionString` and `CFBundleVersion` make the version line;
    `CFBundleName` and `NSHumanReadableCopyright` are shown; `MWWebSiteURL` is the address of the web site;
    `MWIsDirectVersion` and `MWBuildVersion` tell a build that is sold through a store (see
    isMacAppStoreVersion()). They are read when the controller is made, the credits when its window is first
    needed. Main thread only.
*/
class MARBLEWICK_PANELS_EXPORT MBWAboutPanel : public Marblewick::NSWindowController
{
    Q_OBJECT
    Q_PROPERTY(QString versionString READ versionString WRITE setVersionString)
    Q_PROPERTY(QVariantMap infoDictionary READ infoDictionary WRITE setInfoDictionary)
    Q_PROPERTY(QUrl webSiteURL READ webSiteURLOrEmpty)
    Q_PROPERTY(bool macAppStoreVersion READ isMacAppStoreVersion WRITE setMacAppStoreVersion)

public:
    /*! The controller of the process, made at the first call and never destroyed. */
    static MBWAboutPanel *sharedAboutPanel();

    /*! Reads the properties of a host, by default of the running one; the bundle must outlive the controller.
     */
    explicit MBWAboutPanel(const Marblewick::NSBundle *bundle = Marblewick::NSBundle::mainBundle());
    ~MBWAboutPanel() override;

    /*! The view of the credits; null before the window was loaded. Owned by the window. */
    QTextBrowser *creditsView() const;

    /*! The version line: "2.1 (345)", of the marketing version and the build number. For a build from the
        store it is the host's translation of "%@ (%@) Mac App Store Version". A property that is missing, or
        neither a text nor a number, prints `(null)`.
    */
    QString versionString() const { return m_versionString; }
    void setVersionString(const QString &versionString);

    /*! The host's information properties, the translated ones in the place of the others. */
    QVariantMap infoDictionary() const { return m_infoDictionary; }
    void setInfoDictionary(const QVariantMap &infoDictionary);

    /*! The URL that the property `MWWebSiteURL` holds; nil where it is missing, no text or no URL. */
    std::optional<QUrl> webSiteURL() const;

    /*! Whether the host is the build from the store. Where the property `MWIsDirectVersion` is there, it is
        unless that says yes; otherwise it is where there is `MWBuildVersion`, which is then the build number.
        Translations of the two do not count for that.
    */
    bool isMacAppStoreVersion() const { return m_isMacAppStoreVersion; }
    void setMacAppStoreVersion(bool isMacAppStoreVersion) { m_isMacAppStoreVersion = isMacAppStoreVersion; }

    /*! Opens the web site in the user's browser. Nothing happens without a URL, or where it is of a scheme
       that the workspace refuses. The sender is not used.
    */
    void openWebSiteURL(QObject *sender = nullptr);

    /*! What a maker asks for in a support mail: name and version of the host, versions of Qt and the system.
     */
    QString supportText() const;

    bool eventFilter(QObject *watched, QEvent *event) override;

protected:
    QWidget *loadWindow() override;
    void windowDidLoad() override;

private:
    void readVersion();
    QString applicationName() const;
    QUrl webSiteURLOrEmpty() const { return webSiteURL().value_or(QUrl()); }
    void readCredits();
    void showCredits();
    void setUpIcon();
    void setUpTexts();

    const Marblewick::NSBundle *const m_bundle;
    QVariantMap m_infoDictionary;
    QString m_versionString;
    bool m_isMacAppStoreVersion = false;
    Marblewick::NSAttributedString m_credits;
    std::unique_ptr<Ui::AboutPanel> m_ui;
};

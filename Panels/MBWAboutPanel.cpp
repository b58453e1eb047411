#include "Panels/MBWAboutPanel.h"

#include "Panels/NSColor+MBWExtensions.h"
#include "Platform/AppKit/LeadingAlignment.h"
#include "Platform/AppKit/NSWorkspace.h"
#include "Platform/Foundation/NSString.h"
#include "Platform/Foundation/NSURL.h"
#include "Utilities/MBWApplicationName.h"
#include "ui_AboutPanel.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QScreen>
#include <QScrollBar>
#include <QShortcut>
#include <QStyle>

using namespace Qt::StringLiterals;
using namespace Marblewick;

namespace {

constexpr QLatin1StringView isDirectVersionKey("MWIsDirectVersion");
constexpr QLatin1StringView buildVersionKey("MWBuildVersion");
constexpr QLatin1StringView webSiteURLKey("MWWebSiteURL");

constexpr int creditsInset = 10;
constexpr int iconSize = 64;

/*! How a property is printed; nil for one that is missing, or neither a text nor a number. */
std::optional<QString> description(const QVariant &property)
{
    switch (property.typeId()) {
    case QMetaType::Bool:
        return property.toBool() ? u"1"_s : u"0"_s;
    case QMetaType::QString:
    case QMetaType::Int:
    case QMetaType::LongLong:
    case QMetaType::ULongLong:
    case QMetaType::Double:
        return property.toString();
    default:
        return std::nullopt;
    }
}

/*! Whether a property says yes; a text does that begins with Y, T or a number other than 0. Nil for a
   property that is missing, or neither a text nor a number.
*/
std::optional<bool> boolValue(const QVariant &property)
{
    static const QRegularExpression yes(u"^\\s*[-+]?0*[YyTt1-9]"_s);
    const std::optional<QString> text = description(property);
    return text ? std::optional(yes.match(*text).hasMatch()) : std::nullopt;
}

/*! The colour of links; that of text where theirs is hard to tell from the background, as it is on the dark
    desktops whose palette has no colour of its own for links.
*/
QColor linkColor(const QPalette &palette)
{
    constexpr int leastDifference = 80;
    const QColor link = palette.color(QPalette::Link);
    const int difference = qGray(link.rgb()) - qGray(palette.color(QPalette::Base).rgb());
    return qAbs(difference) < leastDifference ? palette.color(QPalette::Text) : link;
}

} // namespace

MBWAboutPanel *MBWAboutPanel::sharedAboutPanel()
{
    static auto *const panel = new MBWAboutPanel;
    return panel;
}

MBWAboutPanel::MBWAboutPanel(const NSBundle *bundle)
    : NSWindowController(u"AboutPanel"_s)
    , m_bundle(bundle)
    , m_infoDictionary(bundle->infoDictionary())
{
    m_infoDictionary.insert(bundle->localizedInfoDictionary());
    readVersion();
}

MBWAboutPanel::~MBWAboutPanel() = default;

void MBWAboutPanel::readVersion()
{
    const auto property = [&](QLatin1StringView key) { return description(m_infoDictionary.value(key)); };
    const QVariantMap ownProperties =
        m_bundle->infoDictionary(); // What a build is does not depend on a language.
    const std::optional<QString> marketingVersion = property(kCFBundleShortVersionStringKey);
    std::optional<QString> buildNumber = property(kCFBundleVersionKey);

    if (const auto isDirectVersion = boolValue(ownProperties.value(isDirectVersionKey))) {
        m_isMacAppStoreVersion = !*isDirectVersion;
    } else if (ownProperties.contains(buildVersionKey)) {
        m_isMacAppStoreVersion = true;
        buildNumber = property(buildVersionKey);
    }
    const QString format = m_isMacAppStoreVersion
                               ? m_bundle->localizedStringForKey(u"%@ (%@) Mac App Store Version"_s)
                               : u"%@ (%@)"_s;
    m_versionString = NSString::stringWithFormat(format, {marketingVersion, buildNumber});
}

QTextBrowser *MBWAboutPanel::creditsView() const { return m_ui ? m_ui->creditsView : nullptr; }

void MBWAboutPanel::setVersionString(const QString &versionString)
{
    m_versionString = versionString;
    setUpTexts();
}

void MBWAboutPanel::setInfoDictionary(const QVariantMap &infoDictionary)
{
    m_infoDictionary = infoDictionary;
    setUpTexts();
}

std::optional<QUrl> MBWAboutPanel::webSiteURL() const
{
    const QVariant address = m_infoDictionary.value(webSiteURLKey);
    return address.typeId() == QMetaType::QString ? NSURL::URLWithString(address.toString()) : std::nullopt;
}

void MBWAboutPanel::openWebSiteURL(QObject *)
{
    if (const std::optional<QUrl> url = webSiteURL())
        NSWorkspace::sharedWorkspace()->openURL(*url);
}

QString MBWAboutPanel::supportText() const
{
    return u"%1 %2\nQt %3, %4\n%5, %6 %7, %8"_s.arg(
        applicationName(), m_versionString, QString::fromLatin1(qVersion()), QGuiApplication::platformName(),
        QSysInfo::prettyProductName(), QSysInfo::kernelType(), QSysInfo::kernelVersion(),
        QSysInfo::currentCpuArchitecture());
}

QString MBWAboutPanel::applicationName() const
{
    const QString name = description(m_infoDictionary.value(kCFBundleNameKey)).value_or(QString());
    return name.isEmpty() ? MBWApplicationName().value_or(QString()) : name;
}

QWidget *MBWAboutPanel::loadWindow()
{
    auto *const window = new QWidget(nullptr, Qt::Dialog);
    m_ui = std::make_unique<Ui::AboutPanel>();
    m_ui->setupUi(window);
    return window;
}

void MBWAboutPanel::windowDidLoad()
{
    QFont nameFont = m_ui->nameLabel->font();
    nameFont.setBold(true);
    nameFont.setPointSizeF(nameFont.pointSizeF() * 1.5);
    m_ui->nameLabel->setFont(nameFont);
    setUpIcon();
    m_ui->creditsView->document()->setDocumentMargin(creditsInset);
    readCredits();
    showCredits();
    setUpTexts();
    if (m_credits.string.isEmpty())
        window()->resize(window()->width(), window()->minimumHeight());
    window()->setGeometry(QStyle::alignedRect(Qt::LeftToRight, Qt::AlignCenter, window()->size(),
                                              window()->screen()->availableGeometry()));

    connect(m_ui->creditsView, &QTextBrowser::anchorClicked, this,
            [](const QUrl &link) { NSWorkspace::sharedWorkspace()->openURL(link); });
    connect(m_ui->webSiteButton, &QPushButton::clicked, this,
            [this] { openWebSiteURL(m_ui->webSiteButton); });
    connect(m_ui->copyButton, &QPushButton::clicked, this,
            [this] { QGuiApplication::clipboard()->setText(supportText()); });
    connect(new QShortcut(Qt::Key_Escape, window()), &QShortcut::activated, window(), &QWidget::close);
    window()->installEventFilter(this);
    m_ui->creditsView->installEventFilter(this);
}

void MBWAboutPanel::readCredits()
{
    std::optional<QString> path = m_bundle->pathForResource(u"Credits"_s, u"rtf"_s);
    if (!path)
        path = m_bundle->pathForResource(u"MAS-Credits"_s, u"rtf"_s);
    if (path)
        m_credits = NSAttributedString::initWithContentsOfFile(*path).value_or(NSAttributedString());
    for (NSAttributeRun &run : m_credits.runs) {
        std::optional<NSColor> &color = run.attributes.foregroundColor;
        if (color && MBWExtensions::isEqualToColorFrameworkVersion(*color, NSColor::blackColor()))
            color = NSColor::textColor();
    }
}

void MBWAboutPanel::showCredits()
{
    QScrollBar *const scrollBar = m_ui->creditsView->verticalScrollBar();
    const int position = scrollBar->value();
    m_credits.replaceContents(m_ui->creditsView->document(), linkColor(m_ui->creditsView->palette()));
    scrollBar->setValue(position);
    m_ui->creditsView->setHidden(m_credits.string.isEmpty());
}

void MBWAboutPanel::setUpIcon()
{
    const QIcon icon = QGuiApplication::windowIcon().isNull()
                           ? QIcon::fromTheme(QGuiApplication::desktopFileName())
                           : QGuiApplication::windowIcon();
    m_ui->iconLabel->setPixmap(icon.pixmap(QSize(iconSize, iconSize), window()->devicePixelRatio()));
    m_ui->iconLabel->setHidden(icon.isNull());
}

void MBWAboutPanel::setUpTexts()
{
    if (!m_ui)
        return;
    m_ui->retranslateUi(window());
    window()->setWindowTitle(window()->windowTitle().arg(applicationName()));
    for (QLabel *const label : {m_ui->nameLabel, m_ui->versionLabel, m_ui->copyrightLabel})
        alignLeading(label);
    m_ui->nameLabel->setText(applicationName());
    m_ui->versionLabel->setText(m_versionString);
    m_ui->copyrightLabel->setText(
        description(m_infoDictionary.value(kNSHumanReadableCopyrightKey)).value_or(QString()));
    m_ui->copyrightLabel->setHidden(m_ui->copyrightLabel->text().isEmpty());
    m_ui->webSiteButton->setToolTip(webSiteURLOrEmpty().toDisplayString());
    m_ui->webSiteButton->setHidden(!NSWorkspace::opensScheme(webSiteURLOrEmpty().scheme()));

    // A layout with texts that wrap does not give its window a minimum height by itself, nor does one whose
    // window has a width of its own make that wider for its buttons.
    QLayout *const layout = window()->layout();
    window()->setMinimumWidth(qMax(window()->minimumWidth(), layout->totalMinimumSize().width()));
    window()->setMinimumHeight(layout->minimumHeightForWidth(window()->minimumWidth()));
}

bool MBWAboutPanel::eventFilter(QObject *watched, QEvent *event)
{
    const QEvent::Type type = event->type();
    if (watched == window() && (type == QEvent::LanguageChange || type == QEvent::LayoutDirectionChange))
        setUpTexts();
    if (type == QEvent::PaletteChange && watched == m_ui->creditsView)
        showCredits(); // Links have the colour of the palette that was.
    return NSWindowController::eventFilter(watched, event);
}

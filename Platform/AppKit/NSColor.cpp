#include "Platform/AppKit/NSColor.h"

#include <QGuiApplication>
#include <QPalette>

#include <algorithm>
#include <array>

namespace Marblewick {

namespace {

struct CatalogColor
{
    QLatin1StringView name;
    QPalette::ColorRole role;
    QPalette::ColorGroup group = QPalette::Active;
};

constexpr std::array catalog{
    CatalogColor{QLatin1StringView("textColor"), QPalette::Text},
    CatalogColor{QLatin1StringView("textBackgroundColor"), QPalette::Base},
    CatalogColor{QLatin1StringView("selectedTextColor"), QPalette::HighlightedText},
    CatalogColor{QLatin1StringView("selectedTextBackgroundColor"), QPalette::Highlight},
    CatalogColor{QLatin1StringView("placeholderTextColor"), QPalette::PlaceholderText},
    CatalogColor{QLatin1StringView("linkColor"), QPalette::Link},
    CatalogColor{QLatin1StringView("labelColor"), QPalette::WindowText},
    CatalogColor{QLatin1StringView("windowBackgroundColor"), QPalette::Window},
    CatalogColor{QLatin1StringView("controlTextColor"), QPalette::ButtonText},
    CatalogColor{QLatin1StringView("disabledControlTextColor"), QPalette::ButtonText, QPalette::Disabled},
    CatalogColor{QLatin1StringView("controlColor"), QPalette::Button},
};

const CatalogColor *find(const QString &name)
{
    const auto *const found = std::ranges::find(catalog, name, &CatalogColor::name);
    return found == catalog.end() ? nullptr : found;
}

} // namespace

NSColor NSColor::colorWithDeviceRed(double red, double green, double blue, double alpha)
{
    return NSColor(Components{red, green, blue, alpha});
}

NSColor NSColor::colorWithPatternImage(const QImage &image) { return NSColor(image); }

std::optional<NSColor> NSColor::colorNamed(const QString &name)
{
    if (!find(name))
        return std::nullopt;
    return NSColor(CatalogName{name});
}

QString NSColor::catalogNameComponent() const
{
    const auto *const catalogName = std::get_if<CatalogName>(&m_value);
    return catalogName ? catalogName->name : QString();
}

std::optional<NSColor> NSColor::colorUsingType(NSColorType wanted) const
{
    if (type() == wanted)
        return *this;
    if (type() != NSColorType::Catalog || wanted != NSColorType::ComponentBased)
        return std::nullopt;
    const CatalogColor &entry = *find(catalogNameComponent());
    const QColor color = QGuiApplication::palette().color(entry.group, entry.role);
    return colorWithDeviceRed(color.redF(), color.greenF(), color.blueF(), color.alphaF());
}

void NSColor::getRed(double *red, double *green, double *blue, double *alpha) const
{
    const auto *const components = std::get_if<Components>(&m_value);
    if (!components)
        return;
    if (red)
        *red = components->red;
    if (green)
        *green = components->green;
    if (blue)
        *blue = components->blue;
    if (alpha)
        *alpha = components->alpha;
}

QBrush NSColor::brush() const
{
    if (const auto *const pattern = std::get_if<QImage>(&m_value))
        return QBrush(*pattern);
    const auto channel = [](double component) { return static_cast<float>(qBound(0.0, component, 1.0)); };
    const Components color = std::get<Components>(colorUsingType(NSColorType::ComponentBased)->m_value);
    return QColor::fromRgbF(channel(color.red), channel(color.green), channel(color.blue),
                            channel(color.alpha));
}

} // namespace Marblewick

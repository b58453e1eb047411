#pragma once

#include <Marblewick/MarblewickPanelsExport.h>

#include <QBrush>
#include <QImage>
#include <QString>

#include <optional>
#include <variant>

namespace Marblewick {

/*! What a colour is made of. */
enum class NSColorType : qint64 {
    ComponentBased = 0, ///< red, green, blue and alpha
    Pattern = 1, ///< an image that is repeated
    Catalog = 2, ///< a name, such as textColor, which stands for what the user's palette says
};

/*! A colour. Its components are doubles in the device's RGB colour space, from 0 to 1, and are kept as they
   are given; QColor rounds them to 16 bits.

    Any thread; a catalogue colour turns into another type on the main thread only, as it asks for the
    application's palette.
*/
class MARBLEWICK_PANELS_EXPORT NSColor
{
public:
    static NSColor colorWithDeviceRed(double red, double green, double blue, double alpha = 1);
    static NSColor colorWithPatternImage(const QImage &image);

    /*! The catalogue's colour of that name, nil where there is none:

        - textColor, textBackgroundColor, selectedTextColor, selectedTextBackgroundColor,
          placeholderTextColor, linkColor: of fields and documents
        - labelColor, windowBackgroundColor: of windows
        - controlTextColor, disabledControlTextColor, controlColor: of buttons
    */
    static std::optional<NSColor> colorNamed(const QString &name);

    static NSColor whiteColor() { return colorWithDeviceRed(1, 1, 1); }
    static NSColor blackColor() { return colorWithDeviceRed(0, 0, 0); }
    /*! Black with an alpha of 0. */
    static NSColor clearColor() { return colorWithDeviceRed(0, 0, 0, 0); }
    static NSColor textColor() { return *colorNamed(QStringLiteral("textColor")); }
    static NSColor textBackgroundColor() { return *colorNamed(QStringLiteral("textBackgroundColor")); }

    NSColorType type() const { return static_cast<NSColorType>(m_value.index()); }

    /*! The name of a catalogue colour; empty for the other types. */
    QString catalogNameComponent() const;

    /*! The same colour as another type, nil where it has none: a catalogue colour has components, those that
       the palette gives it now. Every colour is its own type already.
    */
    std::optional<NSColor> colorUsingType(NSColorType type) const;

    /*! The components of a component-based colour; nothing happens for the other types, or where a pointer is
       null.
    */
    void getRed(double *red, double *green, double *blue, double *alpha) const;

    /*! What Qt fills an area with: the image of a pattern, else the colour of this moment's palette. */
    QBrush brush() const;

private:
    struct Components
    {
        double red = 0;
        double green = 0;
        double blue = 0;
        double alpha = 1;
    };
    struct CatalogName
    {
        QString name;
    };
    /*! In the order of NSColorType. */
    using Value = std::variant<Components, QImage, CatalogName>;

    explicit NSColor(Value value)
        : m_value(std::move(value))
    { }

    Value m_value;
};

} // namespace Marblewick

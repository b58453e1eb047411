#include "Panels/NSColor+MBWExtensions.h"

#include <array>
#include <charconv>
#include <limits>

using namespace Marblewick;

namespace {

constexpr int printedDecimals = 6;

/*! As printf's "%f" without its locale. */
QString printed(double component)
{
    std::array<char, std::numeric_limits<double>::max_exponent10 + 3 + printedDecimals> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), component,
                                   std::chars_format::fixed, printedDecimals);
    return QString::fromLatin1(text.data(), end.ptr - text.data());
}

/*! Red, green, blue and alpha of a component-based colour, rounded. */
std::array<NSDecimalNumber, 4> roundedComponents(const NSColor &color)
{
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 0;
    color.getRed(&red, &green, &blue, &alpha);
    const auto rounded = [&color](double component) {
        return MBWExtensions::decimalNumberForColorComponentFrameworkVersion(color, component);
    };
    return {rounded(red), rounded(green), rounded(blue), rounded(alpha)};
}

} // namespace

namespace MBWExtensions {

NSDecimalNumber decimalNumberForColorComponentFrameworkVersion(const NSColor &, double component)
{
    // Two steps on purpose: colours that differ by less than what is printed are the same.
    return NSDecimalNumber::decimalNumberWithString(printed(component))
        .decimalNumberByRoundingAccordingToBehavior({.roundingMode = NSRoundingMode::Plain,
                                                     .scale = 3,
                                                     .raiseOnExactness = false,
                                                     .raiseOnOverflow = true,
                                                     .raiseOnUnderflow = true,
                                                     .raiseOnDivideByZero = true});
}

bool isEqualToColorFrameworkVersion(const NSColor &color, const NSColor &other)
{
    if (color.type() == NSColorType::Catalog && other.type() == NSColorType::Catalog
        && color.catalogNameComponent() == other.catalogNameComponent())
        return true;
    const auto components = color.colorUsingType(NSColorType::ComponentBased);
    const auto otherComponents = other.colorUsingType(NSColorType::ComponentBased);
    return components && otherComponents
           && roundedComponents(*components) == roundedComponents(*otherComponents);
}

} // namespace MBWExtensions

#pragma once

#include <Marblewick/MarblewickPanelsExport.h>
#include <Marblewick/NSColor.h>
#include <Marblewick/NSDecimalNumber.h>

/*! Tells whether two colours look the same. */
namespace MBWExtensions {

/*! A component of a colour, rounded to three decimal places. It is first rounded to six, as it is printed:
   0.49949999 becomes 0.4995 and then 0.5. Halves are rounded away from zero the second time. The colour is
   not used. Any thread.

    An infinite component is "not a number"; one of 10^165 or more raises NSDecimalNumberOverflowException.
*/
MARBLEWICK_PANELS_EXPORT Marblewick::NSDecimalNumber decimalNumberForColorComponentFrameworkVersion(
    const Marblewick::NSColor &color, double component);

/*! Whether both name the same colour of the catalogue, or their red, green, blue and alpha components are
    equal once rounded to three decimal places. A pattern has no components and is equal to no colour, itself
    included. Any thread; the main thread for a catalogue colour.
*/
MARBLEWICK_PANELS_EXPORT bool isEqualToColorFrameworkVersion(const Marblewick::NSColor &color,
                                                             const Marblewick::NSColor &other);

} // namespace MBWExtensions

#pragma once

#include <QString>

class QJsonObject;

namespace Marblewick {

/*! The registers of a crash report's `threadState`, under a line with its flavour, four in a row: the common
    registers of arm64 and x86_64 in their usual order, then all others by name.
*/
QString textOfRegisters(const QJsonObject &threadState);

} // namespace Marblewick

#include "Tests/Support/DecimalCommaLocale.h"

#include "Tests/Support/ChildProgram.h"

#include <clocale>
#include <string_view>

using namespace Qt::StringLiterals;

DecimalCommaLocale::DecimalCommaLocale()
{
    ChildProgram localedef({u"localedef"_s, u"--no-archive"_s, u"-i"_s, u"de_DE"_s, u"-f"_s, u"UTF-8"_s,
                            m_folder.filePath(u"de_DE.UTF-8"_s)});
    localedef.exitStatus();
    qputenv("LOCPATH", m_folder.path().toUtf8());
    std::setlocale(LC_ALL, "de_DE.UTF-8");
}

bool DecimalCommaLocale::isUsed() const { return std::string_view(std::localeconv()->decimal_point) == ","; }

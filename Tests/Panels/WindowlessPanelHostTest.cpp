#include "Tests/Support/CapturedStandardError.h"
#include "Tests/Support/ChildProgram.h"
#include "Tests/Support/TemporaryHome.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QDir>

using namespace Qt::StringLiterals;

TEST(WindowlessPanelHost, IsShownNoPanelAndToldSoInTheLogAndNothingIsStored)
{
    const TemporaryHome home;
    const CapturedStandardError standardError;
    ChildProgram host({QCoreApplication::applicationDirPath() + u"/WindowlessPanelHost"_s});
    EXPECT_EQ(host.exitStatus(), 0);
    EXPECT_EQ(host.output(), "no panel\nnot shown\n");
    EXPECT_EQ(standardError.text().count(u"a window needs a QApplication"), 3);
    EXPECT_FALSE(QDir(home.configFolder()).exists());
}

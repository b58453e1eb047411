#include "Benchmarks/Benchmarks.h"
#include "Benchmarks/Comparison.h"
#include "Benchmarks/Hosts/Launch.h"

#include <QTemporaryDir>

namespace {

void benchmarkShowing(const char *name, const char *command)
{
    const Comparison showing{.ours = [command] { return launch(command); },
                             .peer = [] { return launch("panel-host empty"); },
                             .repetitions = 30};
    printRatio(std::string("first showing of the ") + name + " / of an empty dialog", showing.run(), "ms",
               "at most 3 x");
}

/*! The credits follow the About panel's first picture. Most of that time is the toolkit's, for the first use
   of each of their fonts, which this tells apart from what the panel adds to it.
*/
void benchmarkShowingCredits()
{
    const Comparison showing{.ours = [] { return launch("panel-host credits"); },
                             .peer = [] { return launch("panel-host browser"); },
                             .repetitions = 30};
    printRatio("first showing of the About panel's credits / in a QTextBrowser", showing.run(), "ms",
               "no target");
}

} // namespace

void benchmarkPanels()
{
    const QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.path().toUtf8());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("QT_LOGGING_RULES", "default.warning=false"); // what offscreen windows cannot do

    benchmarkShowing("About panel before its credits", "panel-host about");
    benchmarkShowing("About panel with its credits", "panel-host credits");
    benchmarkShowingCredits();
    benchmarkShowing("feedback panel", "panel-host feedback");
    benchmarkShowing("news prompt", "panel-host news");
}

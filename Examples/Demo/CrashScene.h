#pragma once

/*! First launch beside an old crash log, a launch that crashes, a third one, panel, report. Prints what
   happens; false where anything did not happen as it should.
*/
bool playCrashScene();

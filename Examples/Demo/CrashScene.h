#pragma once

/*! First launch beside an old crash log, a new crash, second launch, panel, report. Prints what happens;
   false where anything did not happen as it should.
*/
bool playCrashScene();

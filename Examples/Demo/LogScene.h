#pragma once

/*! Eleven launches of a host that keeps log files, of which ten stay. Prints what happens; false where
   anything did not happen as it should.
*/
bool playLogScene();

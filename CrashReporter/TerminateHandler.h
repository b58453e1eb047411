#pragma once

/*! From now on the exception that nobody caught is told to the crash handler before it ends the process. Then
    the terminate handler goes on that was there before. Once for each process.
*/
void installTerminateHandler();

#pragma once

namespace Marblewick {

/*! Makes the OpenGL contexts of all windows share, unless they do, so that a web view can be made after other
    windows: without it the engine ends the process. Setting Qt::AA_ShareOpenGLContexts instead would cost
   every launch of a host, and would be too late here. Main thread.
*/
void shareOpenGLContexts();

} // namespace Marblewick

#include "Platform/WebKit/SharedOpenGLContext.h"

#include <QCoreApplication>
#include <QOpenGLContext>

QT_BEGIN_NAMESPACE
// Exported by Qt Gui for what comes as a plugin, but in none of its headers.
Q_GUI_EXPORT void qt_gl_set_global_share_context(QOpenGLContext *context);
QT_END_NAMESPACE

namespace Marblewick {

namespace {

void deleteSharedContext()
{
    delete QOpenGLContext::globalShareContext();
    qt_gl_set_global_share_context(nullptr);
}

} // namespace

void shareOpenGLContexts()
{
    if (QOpenGLContext::globalShareContext())
        return;
    auto *const context = new QOpenGLContext;
    context->create(); // Where it fails there is no OpenGL; the engine asks for the object all the same.
    qt_gl_set_global_share_context(context);
    // These run in reverse order: the engine, which comes later, is gone before.
    qAddPostRoutine(deleteSharedContext);
}

} // namespace Marblewick

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
    auto context = std::make_unique<QOpenGLContext>();
    if (!context->create())
        return; // Nothing here draws with OpenGL, so there is nothing to share.
    qt_gl_set_global_share_context(context.release());
    // These run in reverse order: the engine, which comes later, is gone before.
    qAddPostRoutine(deleteSharedContext);
}

} // namespace Marblewick

#include <QGuiApplication>
#include <QOpenGLContext>
#include <QWindow>
#include <stdexcept>

#include "client/application_context.h"

namespace texprobe::tests {

namespace {

QSurfaceFormat format_of(const Wish& wish) {
    QSurfaceFormat format;
    format.setRenderableType(wish.isES ? QSurfaceFormat::OpenGLES : QSurfaceFormat::OpenGL);
    format.setVersion(wish.major, wish.minor);
    if (!wish.isES) {
        format.setProfile(wish.isCore ? QSurfaceFormat::CoreProfile
                                      : QSurfaceFormat::CompatibilityProfile);
        // Without it Qt gives a core profile.
        if (!wish.isCore) format.setOption(QSurfaceFormat::DeprecatedFunctions);
    }
    return format;
}

}  // namespace

std::unique_ptr<ApplicationContext> open_window(const Wish& wish) {
    static int argc = 1;
    static char name[] = "application";
    static char* argv[] = {name, nullptr};
    // Never destroyed, because the context is current until the process ends.
    static auto* application = new QGuiApplication(argc, argv);
    auto* window = new QWindow;
    window->setSurfaceType(QWindow::OpenGLSurface);
    window->setFormat(format_of(wish));
    window->create();
    auto* context = new QOpenGLContext(application);
    context->setFormat(format_of(wish));
    if (!context->create()) throw std::runtime_error("Qt gives no such context");
    if (!context->makeCurrent(window))
        throw std::runtime_error("Qt cannot make the context current");
    return std::make_unique<ApplicationContext>();
}

}  // namespace texprobe::tests

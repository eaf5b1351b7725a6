// In which layout do video frames go into a texture? With Qt 5 or 6 and a core profile; Qt's event
// loop goes on while the renderer is measured.
// c++ -fPIC qt.cpp -o qt $(pkg-config --cflags --libs texprobe Qt6Gui)

#include <TexProbeVerdicts.h>

#include <QGuiApplication>
#include <QMetaObject>
#include <QOffscreenSurface>
#include <QOpenGLContext>
#include <QOpenGLFunctions>
#include <cstdio>

// On a thread of the library: quits on the application's.
static void wake(void* application) {
    QMetaObject::invokeMethod(static_cast<QObject*>(application), "quit", Qt::QueuedConnection);
}

// How to send frames whose pixels are blue first; false, and the reason, if there is no way.
static bool print_layout(const qor::TexProbeVerdicts& verdicts, const void* version) {
    unsigned format = 0x80E1 /* GL_BGRA */, type = GL_UNSIGNED_BYTE;
    std::size_t known = 0;
    const std::size_t count = texprobe_format_count();
    for (std::size_t i = 0; i < 6 * count; ++i) {
        known += verdicts.answer(texprobe_format_value(i / 6), texprobe_capability(i % 6)) !=
                 TEXPROBE_UNKNOWN;
    }
    if (verdicts.use(GL_RGBA8, TEXPROBE_UPLOAD_BUFFER, format, type) != TEXPROBE_YES &&
        !verdicts.upload_layout(GL_RGBA8, &format, &type)) {
        std::fprintf(stderr, "no layout is known. %s\n", verdicts.reason());
        return false;
    }
    std::printf("%s: GL_RGBA8 takes 0x%04X, 0x%04X; %zu of %zu answers are known\n",
                static_cast<const char*>(version), format, type, known, 6 * count);
    return true;
}

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    QSurfaceFormat wanted;
    wanted.setVersion(4, 5);
    wanted.setProfile(QSurfaceFormat::CoreProfile);
    QOffscreenSurface surface;
    surface.setFormat(wanted);
    surface.create();
    QOpenGLContext context;
    context.setFormat(wanted);
    if (!context.create() || !context.makeCurrent(&surface)) {
        std::fprintf(stderr, "Qt gives no OpenGL context\n");
        return 1;
    }
    texprobe_options options = {};
    options.size = sizeof options;
    options.user = &application;
    options.done = wake;
    qor::TexProbeVerdicts verdicts(&options);
    if (verdicts.state() == TEXPROBE_MEASURING) QGuiApplication::exec();
    return print_layout(verdicts, context.functions()->glGetString(GL_VERSION)) ? 0 : 1;
}
